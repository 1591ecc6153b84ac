#!/usr/bin/env python3
"""Finds functions that nobody calls.

A function is alive when it is named where code runs: in the body of a living function, in an
initializer, in a macro. Its declarations, its definition and its own body do not count, nor do
tests. A name after "." or "->" can mean any member function of that name, so that namesakes and
overloads live and die together: what is reported is dead, but not all that is dead is reported.
"""

import re
import subprocess
import sys
from collections import defaultdict
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
FOLDERS = ("host", "commands", "plugin", "tavhost")

EXPORTS = re.findall(r"^\s+(\w+)$", (ROOT / "plugin/exports.def").read_text(), re.MULTILINE)

# Called by no name in the sources, each with who calls it.
CALLED_FROM_OUTSIDE = {
    **{name: "the host, as an export of the plug-in" for name in EXPORTS},
    "main": "the system",
    "DllMain": "Windows",
    "begin": "range-based for",
    "end": "range-based for",
    "tavhost_CreateQtToolkit": "the loader of the Qt module, by dlsym",
    "tavhost_RunIde": "the loader of the Qt module, by dlsym",
    "kel::FailNextAllocation": "tests that let memory run out",
    "windows_clock::SetTickSource": "tests that cannot wait for a clock of 32 bits to run over",
    "TableModel::IndexBytes": "a test and a benchmark of what a large table costs",
    "PercentageWindowModel::Polls": "tests of how often a script asks for a cancellation",
    "TreeListBoxModel::SelectedCount": "tests of the count that the tree keeps",
    "IdeWindow::Tabs": "tests that use the workbench",
    "IdeWindow::GetConsole": "tests that use the workbench",
    "IdeWindow::IsPaused": "tests that use the workbench",
    "CommandBrowser::ShownCount": "tests that use the workbench",
    "ToolDocks::Dock": "tests that use the workbench",
    "Edit::GetSelection": "plug-ins, as the other half of ChangeSelection",
    "TextModel::SelectionFrom": "a view that shows a selection, as the other half of SelectionTo",
}

TOKEN = re.compile(
    r'(?P<comment>//(?:[^\n\\]|\\.|\\\n)*|/\*.*?\*/)'
    r'|(?P<string>(?:u8|[uUL])?R"(?P<raw>[^()\s]*)\(.*?\)(?P=raw)"|(?:u8|[uUL])?"(?:[^"\\\n]|\\.)*"'
    r"|(?:u8|[uUL])?'(?:[^'\\\n]|\\.)+')"
    r'|(?P<number>\.?\d(?:[\w.]|\'\w|[eEpP][+-])*)'
    r'|(?P<directive>(?:^|(?<=\n))[ \t]*\#(?:[^\n\\]|\\.|\\\n)*)'
    r'|(?P<word>[A-Za-z_]\w*)'
    r'|(?P<sign>::|->|\[\[|\]\]|[^\s\w])', re.DOTALL)
CLASS_WORDS = ("enum", "class", "struct", "union")
NO_NAMES = set("""
alignas alignof catch const_cast decltype defined delete dynamic_cast explicit for if new noexcept
operator reinterpret_cast requires return sizeof static_assert static_cast switch throw typeid while
bool char double float int long short signed unsigned void auto
__attribute__ __declspec
""".split())
ACCESS = ("public", "protected", "private", "signals", "slots", "Q_SIGNALS", "Q_SLOTS")


def tokens_of(text):
    """(kind, text, line) of all that the compiler sees; a macro's body counts, its name does not."""
    line, last = 1, 0
    for match in TOKEN.finditer(text):
        line += text.count("\n", last, match.start())
        last = match.start()
        kind = match.lastgroup if match.lastgroup != "raw" else "string"
        if kind == "directive":
            macro = re.match(r"\s*#\s*define\s+\w+(?:\([^)]*\))?(.*)", match[0], re.DOTALL)
            for word in re.findall(r"[A-Za-z_]\w*", macro[1]) if macro else ():
                yield "macro", word, line
        elif kind != "comment":
            yield kind, match[0], line


class Function:
    def __init__(self, owner, name):
        self.owner = owner        # its class, or the namespace of a free function
        self.name = name
        self.places = []          # (path, line) of declarations and definitions
        self.is_member = False
        self.is_static = False
        self.is_virtual = False   # declared as the first of its line
        self.overrides = False

    def __str__(self):
        return f"{self.owner}::{self.name}" if self.owner else self.name


class Program:
    """What the sources declare, and who names it."""

    def __init__(self, called_from_outside=()):
        self.called_from_outside = set(called_from_outside)
        self.functions = {}               # by owner and name
        self.by_name = defaultdict(list)
        self.uses = set()                 # (name, how, looks like a type, caller); see `meant`
        self.classes = set()

    def read(self, path, text):
        Reader(self, path, text).read()

    def declare(self, owner, name):
        function = self.functions.get((owner, name))
        if not function:
            function = self.functions[owner, name] = Function(owner, name)
            self.by_name[name].append(function)
        return function

    def meant(self, name, how, is_type, caller):
        """The functions that a use can mean. `how`: "." for one of an object, "" for the name
        alone, else the class or namespace before it; `caller`: None outside of any function."""
        functions = self.by_name[name]
        if is_type and name in self.classes:
            return []
        if how == ".":
            return [f for f in functions if f.is_member and not f.is_static]
        if how:
            return [f for f in functions if f.owner == how] or functions
        if caller and not caller.is_member:
            return [f for f in functions if not f.is_member]
        if caller and (caller.owner, name) in self.functions:
            return [self.functions[caller.owner, name]]
        return functions

    def dead(self):
        """The functions that no living code names, in the order of their places."""
        virtual = {f.name for f in self.functions.values() if f.is_virtual}
        callees = defaultdict(set)
        for use in self.uses:
            caller = use[-1]
            callees[caller].update(f for f in self.meant(*use) if f is not caller)
        found = [*callees[None]]
        for function in self.functions.values():
            # What overrides a function of a library is called by that library.
            if str(function) in self.called_from_outside or (
                    function.overrides and function.name not in virtual):
                found.append(function)
            if function.is_virtual:
                callees[function].update(f for f in self.by_name[function.name] if f.overrides)
        living = set()
        while found:
            function = found.pop()
            if function not in living:
                living.add(function)
                found += callees[function]
        return sorted((f for f in self.functions.values() if f not in living),
                      key=lambda function: function.places[0])


class Reader:
    """Walks through one file, statement by statement."""

    def __init__(self, program, path, text):
        self.program = program
        self.path = path
        self.tokens = list(tokens_of(text))
        self.at = 0
        self.function = None  # whose initializers go on after a brace

    def read(self):
        while self.at < len(self.tokens):
            self.scope("", False)

    def scope(self, owner, is_class):
        """The inside of a namespace or a class, up to its closing brace."""
        statement = []
        depth = 0
        while self.at < len(self.tokens):
            token = self.tokens[self.at]
            self.at += 1
            kind, text, _ = token
            if kind == "macro":
                self.program.uses.add((text, "", False, None))
                continue
            if text == "(":
                depth += 1
            elif text == ")":
                depth -= 1
            if text == "{" and depth > 0:  # a default argument
                self.body(None)
            elif depth == 0 and text == "}":
                return
            elif depth == 0 and text == ";":
                self.declared(statement, owner, is_class)
                statement = []
            elif depth == 0 and text == "{":
                self.open(statement, owner, is_class)
                statement = []
            elif text == ":" and statement and statement[-1][1] in ACCESS:
                statement = []
            else:
                statement.append(token)

    def open(self, statement, owner, is_class):
        words = [text for _, text, _ in statement]
        if "namespace" in words[:2]:
            self.scope(words[-1] if words[-1] != "namespace" else owner, False)
            return
        if words[:1] == ["extern"] and len(words) == 2:
            self.scope(owner, False)
            return
        function = self.declared(statement, owner, is_class)
        if function is None and "=" not in words:
            keyword = next((word for word in self.outside_of_brackets(words)
                            if word in CLASS_WORDS), None)
            if keyword and keyword != "enum":
                self.scope(self.class_name(words, keyword), True)
                return
        if words[:1] != [","]:
            self.function = function
        self.body(self.function)

    def class_name(self, words, keyword):
        own = words[len(words) - words[::-1].index(keyword):]
        own = own[:own.index(":")] if ":" in own else own
        names = [word for word in own if re.match(r"[A-Za-z_]", word) and word != "final"]
        name = names[-1] if names else ""
        self.program.classes.add(name)
        return name

    @staticmethod
    def outside_of_brackets(words):
        """The words that stand neither in parentheses nor in angle brackets."""
        depth = 0
        for before, word in zip([""] + words, words):
            if word == "(" or (word == "<" and before != "operator"):
                depth += 1
            elif word == ")" or (word == ">" and depth > 0 and before != "operator"):
                depth -= 1
            elif depth == 0:
                yield word

    def declared(self, statement, owner, is_class):
        """The function that a statement declares, or None; what else it names is used there."""
        index = self.name_index(statement)
        for i in range(len(statement)):
            if i != index:
                self.use(statement, i, None)
        if index is None:
            return None
        _, name, line = statement[index]
        before = [text for _, text, _ in statement[:index]]
        after = [text for _, text, _ in statement[index + 1:]]
        if before[-1:] == ["::"]:
            qualifier = [word for word in self.outside_of_brackets(before[:-1])][-1:]
            owner = qualifier[0] if qualifier else owner
            is_class = owner in self.program.classes
        if name == "operator" or name == owner or before[-1:] == ["~"]:
            return None
        function = self.program.declare(owner, name)
        function.places.append((self.path, line))
        function.is_member |= is_class
        function.is_static |= is_class and "static" in before
        if "override" in after or "final" in after:
            function.overrides = True
        elif "virtual" in before:
            function.is_virtual = True
        return function

    @staticmethod
    def name_index(statement):
        """Where a statement has the name of the function that it declares."""
        if statement and statement[0][1] in ("using", "typedef", ",", "static_assert"):
            return None
        angle = paren = 0
        for i, (kind, text, _) in enumerate(statement):
            before = statement[i - 1][1] if i else ""
            if text == "operator" and paren == 0:
                return i
            if text == "(":
                if paren == 0 and angle == 0 and i and statement[i - 1][0] == "word" and \
                        before not in NO_NAMES:
                    return i - 1
                paren += 1
            elif text == ")":
                paren -= 1
            elif paren == 0 and text == "<" and i and statement[i - 1][0] == "word":
                angle += 1
            elif paren == 0 and text == ">" and angle > 0:
                angle -= 1
            elif text == "=" and paren == 0 and angle == 0:
                return None
        return None

    def body(self, function):
        """The inside of a function or an initializer, up to its closing brace."""
        depth = 1
        while self.at < len(self.tokens) and depth > 0:
            token = self.tokens[self.at]
            if token[1] == "{":
                depth += 1
            elif token[1] == "}":
                depth -= 1
            else:
                self.use(self.tokens, self.at, function)
            self.at += 1

    def use(self, tokens, at, function):
        kind, text, _ = tokens[at]
        if kind not in ("word", "macro"):
            return
        sign = tokens[at - 1][1] if at > 0 else ""
        if sign in CLASS_WORDS:
            return
        how = ""
        if sign in (".", "->"):
            how = "."
        elif sign == "::" and at > 1 and tokens[at - 2][0] == "word":
            how = tokens[at - 2][1]
        after = tokens[at + 1] if at + 1 < len(tokens) else ("", "", 0)
        is_type = after[0] == "word" or after[1] in ("::", "*", "&", ">", "{")
        self.program.uses.add((text, how, is_type, function))


def sources(root):
    listed = subprocess.run(["git", "ls-files", "--cached", "--others", "--exclude-standard",
                             *FOLDERS], cwd=root, capture_output=True, text=True)
    if listed.returncode == 0:
        paths = [root / line for line in listed.stdout.splitlines()]
    else:  # an exported tree
        paths = [path for top in FOLDERS for path in (root / top).rglob("*")]
    return sorted(path for path in set(paths)
                  if path.suffix in (".h", ".cpp", ".inc") and path.is_file())


def main():
    program = Program(CALLED_FROM_OUTSIDE)
    files = sources(ROOT)
    # Headers first: what is reported stands at its declaration.
    for path in sorted(files, key=lambda path: path.suffix != ".h"):
        program.read(path.relative_to(ROOT).as_posix(), path.read_text("utf-8", "replace"))
    declared = {str(function) for function in program.functions.values()}
    unknown = sorted(set(CALLED_FROM_OUTSIDE) - declared - {"begin", "end"})
    for name in unknown:
        print(f"scripts/check_callers.py: there is no {name} any more")
    dead = program.dead()
    for function in dead:
        path, line = function.places[0]
        print(f"{path}:{line}: nothing calls {function}")
    print(f"{len(program.functions)} functions, {len(dead)} without a caller")
    return 1 if dead or unknown or not files else 0


if __name__ == "__main__":
    sys.exit(main())
