"""What to try on each command, and what the reference says must come of it.

A case is a command with its parameters. What it must lead to is worked out from the reference
alone: the error text of the first check that fails, or no error and the result variables that the
reference lists.
"""

from dataclasses import dataclass, field

MAIN = ""  # the name under which the main value goes here

TYPE_WORDS = {"string": "a string", "integer": "an integer", "real": "a real", "word": "a word",
              "modifier": "a modifier", "body": "a body", "list": "a list", "record": "a record"}
CHECKED_AS = {"string": {"string"}, "integer": {"integer"}, "real": {"real", "integer"}}

# Values that a command can work with, where the usual ones would not do or would do harm.
GOOD_VALUES = {
    ("BROWSER", "content"): '"A;B\\n1;2"',
    ("DOCKABLE_BROWSER", "content"): '"A;B\\n1;2"',
    ("EDIT_BROWSER", "content"): '"A;B\\n1;2"',
    ("EXECUTE", MAIN): '"unused = 1"',
    ("GET_MP_COMMANDS", MAIN): '"TavScript"',
    ("HTTP_REQUEST", MAIN): '"http://127.0.0.1:1/"',  # nobody listens there
    ("KEL_TO_XML", MAIN): '"PART \\"x\\" mass:1"',
}
USUAL_VALUES = {"string": '"x"', "integer": "1", "real": "1.5", "body": "{ X }", "switch": None,
                "keyword": None}

# Commands to send before and after each case of a command, so that there is something to act on
# and nothing stays behind.
BEFORE = {
    "FREAD": ['FWRITE file:"x" text:"x"'],
    "TLB": ["TLB_CREATE okbutton-enabled:1", 'TLB_INSERT id:1 text:"x"'],
    "PERCWIN": ['PERCWIN_CREATE title:"x" with-second-bar with-cancel-button'],
    "OUT": ['CREATE_OUTPUT_WIN winid:"x" title:"x"'],
    "SET_OUTPUT_WIN_SUBTITLE": ['CREATE_OUTPUT_WIN winid:"x" title:"x"'],
}
AFTER = {
    "FWRITE": ["FWRITE close"],
    "MSGWIN": ["MSGWIN hide"],
    "SERVICE": ["SERVICE stop"],
    "SET_OUT_MAX_LINE_COUNT": ["SET_OUT_MAX_LINE_COUNT 0"],
}

# Values that are left out, each with its reason.
LEFT_OUT = {
    ("SLEEP", "ms", "2147483647"): "it would wait for weeks",
    ("SLEEP", "ms", "-2147483648"): "it would wait for weeks",  # 2^32 ms are added to it
}


@dataclass
class Value:
    """One value in its two spellings; no text at all is a bare name."""
    kind: str
    plain: str = None  # in plain KEL
    script: str = None  # in a script, where it differs

    def in_script(self):
        return self.script if self.script is not None else self.plain


ONE_OF_EACH_KIND = [
    Value("string", '"x"'), Value("integer", "12"), Value("real", "1.5"), Value("word", "word"),
    Value("modifier"), Value("body", "{ X }"), Value("list", "(1, 2)"), Value("record", "(a: 1)"),
]


def extreme_values(type_name, long_string):
    if type_name == "string":
        return [Value("string", '""'), Value("string", '"a\\0b"'),
                Value("string", '"\\xFF\\xFE\\x80"'), Value("string", '"\\n\\r\\t\\"\\\\ \\x01"'),
                Value("string", f'"{long_string}"', "(long)")]
    if type_name == "integer":
        return [Value("integer", text) for text in ("-2147483648", "-1", "0", "2147483647")]
    if type_name == "real":
        return [Value("real", text) for text in ("0.0", "100.0", "100.5", "-1.0", "1e308", "-1e308")]
    if type_name == "switch":
        return [Value("word", text) for text in ("true", "false", "no")] + [Value("integer", "1")]
    if type_name == "keyword":
        return [Value("word", "false"), Value("string", '""')]
    return [Value("body", "{ }"),
            Value("body", '{ CHECKBOX "a" checked:1 result-var:"variable"; CHECKBOX; checkbox "a" }')]


@dataclass
class Case:
    command: dict
    given: dict  # name -> Value, in the order in which they are written
    title: str
    error: str = None  # the error that must come while checking is on

    def text(self, in_script):
        parts = [self.command["name"]]
        for name, value in self.given.items():
            text = value.in_script() if in_script else value.plain
            if name == MAIN:
                parts.append(text)
            else:
                parts.append(name if text is None else f"{name}:{text}")
        return " ".join(parts)

    def before(self):
        return hooks(BEFORE, self.command["name"])

    def after(self):
        return hooks(AFTER, self.command["name"])


def hooks(table, name):
    if name in table:
        return table[name]
    prefix = name.split("_")[0]
    created = name.endswith("_CREATE")
    return table.get(prefix, []) if prefix in ("TLB", "PERCWIN") and not created else []


def parameters_of(command):
    """The main value first, as it is checked; numbered parameters as number 1."""
    if "main" in command:
        yield {**command["main"], "name": MAIN}
    for parameter in command["parameters"]:
        yield {**parameter, "name": parameter["name"].replace("#", "1")}


def names(parameter, key):
    return [name.replace("#", "1") for name in parameter.get(key, [])]


def good_value(command, parameter):
    kind = parameter["type"]
    text = GOOD_VALUES.get((command["name"], parameter["name"]), USUAL_VALUES[kind])
    return Value("modifier" if text is None else kind, text)


def expected_error(command, given):
    """The text of the first check that fails, None when none does."""
    for parameter in parameters_of(command):
        if "check" not in parameter or any(name in given for name in names(parameter, "unless")):
            continue
        name = parameter["name"]
        what = f'parameter "{name}"' if name else "the main value"
        if name in given:
            kind = given[name].kind
            if kind not in CHECKED_AS[parameter["type"]]:
                wanted = TYPE_WORDS[parameter["type"]]
                return f"{command['name']}: {what} must be {wanted}, not {TYPE_WORDS[kind]}"
        elif parameter["check"] == "required" or any(
                other in given for other in names(parameter, "required-with")):
            return f"{command['name']}: {what} is missing"
    return None


def base(command, conditions):
    """The parameters that must be there, and the names given as conditions."""
    given = {}
    for parameter in parameters_of(command):
        unless = set(names(parameter, "unless"))
        required = parameter.get("required") or set(names(parameter, "required-with")) & set(conditions)
        if parameter["name"] in conditions or required and not unless & set(conditions):
            given[parameter["name"]] = good_value(command, parameter)
    return given


def is_possible(name, value):
    """A main value that is a word or nothing would be something else."""
    return name != MAIN or value.kind not in ("word", "modifier")


@dataclass
class Collection:
    cases: list = field(default_factory=list)
    left_out: list = field(default_factory=list)

    def add(self, command, given, title):
        self.cases.append(Case(command, given, title, expected_error(command, given)))


def put(given, name, value):
    """`given` with one value more; the main value stays in front."""
    return {MAIN: value, **{n: v for n, v in given.items() if n != MAIN}} if name == MAIN else \
        {**given, name: value}


def add_parameter(collection, command, parameter, long_string, short):
    name = parameter["name"]
    title = name or "main value"
    conditions = [()] + [(other,) for key in ("required-with", "unless", "only-with")
                         for other in names(parameter, key)]
    for condition in conditions:
        shown = f" with {condition[0]}" if condition else ""
        given = base(command, condition)
        given.pop(name, None)
        collection.add(command, given, f"{title} absent{shown}")
        given = base(command, (*condition, name))
        given.pop(name)
        values = ONE_OF_EACH_KIND + ([] if condition and short else
                                     extreme_values(parameter["type"], long_string))
        for value in values:
            if not is_possible(name, value):
                continue
            reason = LEFT_OUT.get((command["name"], name, value.plain))
            if reason:
                collection.left_out.append(f"{command['name']} {name}:{value.plain}: {reason}")
                continue
            spelled = value.plain or "(bare)"
            spelled = spelled if len(spelled) < 60 else f"a string of {len(value.plain) - 2} bytes"
            collection.add(command, put(given, name, value), f"{title} {spelled}{shown}")


def collect(command, long_string, short=False):
    """All cases of a command; `short` takes fewer of the rare ones."""
    collection = Collection()
    collection.add(command, base(command, ()), "nothing but what is required")
    collection.add(command, {}, "nothing at all")
    everything = {p["name"]: good_value(command, p) for p in parameters_of(command)}
    collection.add(command, everything, "everything")
    wrong = {parameter["name"]: Value("list", "(1, 2)") for parameter in parameters_of(command)
             if "check" in parameter}
    if wrong:
        collection.add(command, wrong, "everything that is checked wrong")
    # A keyword may decide which of the others are looked at.
    for parameter in command["parameters"]:
        if parameter["type"] == "keyword":
            keyword = {parameter["name"]: Value("modifier")}
            collection.add(command, keyword, f"nothing but {parameter['name']}")
            collection.add(command, {**wrong, **keyword},
                           f"everything that is checked wrong with {parameter['name']}")
    for parameter in parameters_of(command):
        add_parameter(collection, command, parameter, long_string, short)
    return collection
