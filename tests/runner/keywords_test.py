#!/usr/bin/env python3
"""The keywords of the language, in what editors read as well as in the host's one list."""

import json
import re
import sys
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
GRAMMAR = ROOT / "editors/vscode/syntaxes/tavscript.tmLanguage.json"


def keywords(*roles):
    text = (ROOT / "tavhost/base/keywords.h").read_text(encoding="utf-8")
    found = re.findall(r'\{"(\w+)", Role::(\w+)\}', text)
    return {word for word, role in found if role in roles}


def rules(node):
    """Every rule of the grammar, a pattern with the names that it gives."""
    if isinstance(node, list):
        for item in node:
            yield from rules(item)
    elif isinstance(node, dict):
        if "match" in node:
            captures = node.get("captures", {})
            names = {node.get("name")} | {capture["name"] for capture in captures.values()}
            yield node["match"], names
        for item in node.values():
            yield from rules(item)


def words_named(*names):
    """The words that rules which give one of these names list: `(a|b)`, or one in parentheses."""
    grammar = json.loads(GRAMMAR.read_text(encoding="utf-8"))
    words = set()
    for match, given in rules(grammar):
        if given & set(names):
            for group in re.findall(r"\(([a-z|]+)\)", match):
                words |= set(group.split("|"))
    return words


class KeywordsTest(unittest.TestCase):
    def test_the_list_is_read(self):
        self.assertIn("while", keywords("kStatement"))
        self.assertEqual(keywords("kInclude"), {"include"})

    def test_the_grammar_of_the_editor_knows_each(self):
        self.assertEqual(words_named("keyword.control.tavscript"),
                         keywords("kStatement", "kGoesOn", "kInFor"))
        self.assertEqual(words_named("keyword.control.import.tavscript"), keywords("kInclude"))
        self.assertEqual(words_named("keyword.operator.word.tavscript"), keywords("kOperator"))
        self.assertEqual(words_named("constant.language.tavscript"), keywords("kConstant"))

    def test_the_manual_knows_what_begins_a_statement(self):
        manual = (ROOT / "docs/language.md").read_text(encoding="utf-8")
        listed = re.search(r"A statement begins with a keyword\n\n> (.*)\n", manual)[1]
        self.assertEqual(set(re.findall(r"`(\w+)`", listed)), keywords("kStatement"))

    def test_no_other_source_lists_them(self):
        """A list is three of them in a row."""
        word = r'u?"(' + "|".join(sorted(keywords("kStatement", "kGoesOn", "kInclude"))) + r')"'
        listed = re.compile(rf"{word}\s*,\s*{word}\s*,\s*{word}")
        for path in sorted((ROOT / "tavhost").rglob("*")):
            if path.suffix in (".h", ".cpp"):
                self.assertIsNone(listed.search(path.read_text(encoding="utf-8")), path)


if __name__ == "__main__":
    sys.dont_write_bytecode = True
    unittest.main()
