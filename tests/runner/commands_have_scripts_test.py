#!/usr/bin/env python3
"""Every command has a script test that its name leads to: tests/scripts/<family>/<command>.tav or
<command>_<case>.tav."""

import re
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
SCRIPTS = ROOT / "tests/scripts"
ROW = re.compile(r'^    \{"(\w+)", commands::Command_\w+\},$', re.MULTILINE)
DESCRIBED = re.compile(r"^([A-Z]\w*) \{$", re.MULTILINE)


def command_named_by(stem, commands):
    """The command whose name a script's begins with; of several the longest, so that a test of
    TLB_SELECT_ALL is none of TLB_SELECT. None for tests of no one command."""
    named = [command for command in commands
             if stem == command.lower() or stem.startswith(command.lower() + "_")]
    return max(named, key=len, default=None)


def without_script(families, scripts):
    """The commands that no script is named by, with the name that one could have. `families` has
    each command's, `scripts` are pairs of family and stem."""
    tested = {(family, command_named_by(stem, families)) for family, stem in scripts}
    return [f"{command}: tests/scripts/{family}/{command.lower()}_<case>.tav"
            for command, family in families.items() if (family, command) not in tested]


def families_of_commands():
    """Each command of the table in its order, and its family by the reference."""
    families = {name: page.stem for page in (ROOT / "commands/reference").glob("*.kel")
                for name in DESCRIBED.findall(page.read_text("utf-8"))}
    table = (ROOT / "plugin/command_table.cpp").read_text("utf-8")
    return {name: families[name] for name in ROW.findall(table)}


class CommandsHaveScriptsTest(unittest.TestCase):
    def test_every_command_has_a_script_by_its_name(self):
        families = families_of_commands()
        header = (ROOT / "plugin/command_table.h").read_text("utf-8")
        self.assertEqual(len(families), int(re.search(r"kCommandCount = (\d+);", header)[1]))
        scripts = [(path.parent.name, path.stem) for path in SCRIPTS.glob("*/*.tav")]
        missing = without_script(families, scripts)
        self.assertFalse(missing, "\nno script test by the name of\n" + "\n".join(missing))

    def test_a_script_named_by_a_command_calls_it(self):
        families = families_of_commands()
        for path in sorted(SCRIPTS.glob("*/*.tav")):
            command = command_named_by(path.stem, families)
            if families.get(command) != path.parent.name:
                continue
            statements = re.sub(r'"(?:[^"\\]|\\.)*"|#.*$', "", path.read_text("utf-8"),
                                flags=re.MULTILINE)
            self.assertRegex(statements, rf"\b{command}\b", path.name)


class NamesTest(unittest.TestCase):
    FAMILIES = {"COPY": "files", "COPY_ALL": "files", "SHOW": "dialogs"}

    def missing(self, *scripts):
        return [text.partition(":")[0] for text in without_script(self.FAMILIES, scripts)]

    def test_a_script_counts_for_its_command(self):
        self.assertEqual(self.missing(("files", "copy"), ("files", "copy_all_twice"),
                                      ("dialogs", "show_title")), [])

    def test_the_longest_name_counts_alone(self):
        self.assertEqual(self.missing(("files", "copy_all"), ("dialogs", "show")), ["COPY"])
        self.assertEqual(self.missing(("files", "copy_allowed"), ("dialogs", "show")), ["COPY_ALL"])

    def test_another_family_does_not_count(self):
        self.assertEqual(self.missing(("files", "show"), ("files", "copy"), ("files", "copy_all")),
                         ["SHOW"])

    def test_a_name_that_only_begins_alike_does_not_count(self):
        self.assertEqual(self.missing(("files", "copying"), ("files", "copy_all"),
                                      ("dialogs", "show")), ["COPY"])

    def test_what_is_missing_is_told_with_its_place(self):
        self.assertEqual(without_script({"SHOW": "dialogs"}, []),
                         ["SHOW: tests/scripts/dialogs/show_<case>.tav"])


if __name__ == "__main__":
    unittest.main()
