#!/usr/bin/env python3
"""Tests of what compares the commands with their reference: that it notices what is wrong."""

import sys
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "reference"))
import cases  # noqa: E402
import kel  # noqa: E402
import sweep  # noqa: E402
from cases import MAIN, Case, Value  # noqa: E402
from drivers import Outcome  # noqa: E402

WRITE = {
    "name": "WRITE",
    "main": {"type": "string", "check": "required", "required": True, "unless": ["hide"]},
    "parameters": [
        {"name": "size", "type": "integer", "check": "optional", "required-with": ["fixed"]},
        {"name": "part", "type": "real", "check": "optional"},
        {"name": "fixed", "type": "switch"},
        {"name": "hide", "type": "keyword"},
    ],
    "results": [
        {"name": "ecode", "type": "integer", "when": "always", "values": {"0": "", "1": ""}},
        {"name": "text", "type": "string", "when": "ecode is 0"},
    ],
}
GOOD = {MAIN: Value("string", '"x"')}


def outcome(error=None, **variables):
    kinds = {int: "integer", str: "string", list: "list"}
    return Outcome(error, {name: (kinds[type(v)], v) for name, v in variables.items()})


def problems(result, error=None, checking=True):
    return list(sweep.problems_of(Case(WRITE, GOOD, "", error), result, checking))


class ExpectedErrors(unittest.TestCase):
    def error(self, **given):
        kinds = {name.replace("main", MAIN): Value(kind, "…") for name, kind in given.items()}
        return cases.expected_error(WRITE, kinds)

    def test_missing(self):
        self.assertEqual(self.error(), "WRITE: the main value is missing")
        self.assertIsNone(self.error(main="string"))

    def test_wrong_kinds(self):
        self.assertEqual(self.error(main="integer"),
                         "WRITE: the main value must be a string, not an integer")
        self.assertEqual(self.error(main="string", size="modifier"),
                         'WRITE: parameter "size" must be an integer, not a modifier')
        self.assertEqual(self.error(main="string", size="real"),
                         'WRITE: parameter "size" must be an integer, not a real')

    def test_an_integer_does_for_a_real(self):
        self.assertIsNone(self.error(main="string", part="integer"))
        self.assertIsNotNone(self.error(main="string", part="string"))

    def test_the_first_check_that_fails_counts(self):
        self.assertIn("main value", self.error(main="list", size="list"))
        self.assertIn("size", self.error(main="string", size="list", part="list"))

    def test_conditions(self):
        self.assertIsNone(self.error(hide="modifier"))
        self.assertIsNone(self.error(main="list", hide="word"))
        self.assertIn('"size" is missing', self.error(main="string", fixed="modifier"))

    def test_unchecked_parameters_never_fail(self):
        self.assertIsNone(self.error(main="string", hide="list"))


class Problems(unittest.TestCase):
    def test_none(self):
        self.assertEqual(problems(outcome(ecode=0, text="x")), [])
        self.assertEqual(problems(outcome(ecode=1)), [])
        self.assertEqual(problems(outcome("WRITE: bad"), "WRITE: bad"), [])

    def test_errors(self):
        self.assertTrue(problems(outcome(ecode=0), "WRITE: bad"))
        self.assertTrue(problems(outcome("WRITE: bad")))
        self.assertTrue(problems(outcome("WRITE: worse"), "WRITE: bad"))

    def test_no_error_while_checking_is_off(self):
        self.assertEqual(problems(outcome(ecode=0), "WRITE: bad", checking=False), [])
        self.assertTrue(problems(outcome("WRITE: bad"), "WRITE: bad", checking=False))

    def test_variables(self):
        self.assertTrue(problems(outcome("WRITE: bad", ecode=1), "WRITE: bad"))
        self.assertTrue(problems(outcome()))
        self.assertTrue(problems(outcome(ecode=2)))
        self.assertTrue(problems(outcome(ecode="0")))
        self.assertTrue(problems(outcome(ecode=0, text=[])))
        self.assertTrue(problems(outcome(ecode=0, length=4)))
        self.assertTrue(problems(outcome(text="x", ecode=0)))  # the order

    def test_a_process_that_ended(self):
        self.assertTrue(problems(Outcome(died=True)))


class Collecting(unittest.TestCase):
    def texts(self):
        return [case.text(in_script=False) for case in cases.collect(WRITE, "long").cases]

    def test_every_kind_of_value_for_every_parameter(self):
        texts = self.texts()
        for value in ('"x"', "12", "1.5", "{ X }", "(1, 2)", "(a: 1)"):
            self.assertIn(f"WRITE {value}", texts)
            self.assertIn(f'WRITE "x" size:{value}', texts)
            self.assertIn(f'WRITE "x" part:{value}', texts)
        self.assertIn('WRITE "x" size:word', texts)
        self.assertIn('WRITE "x" size', texts)
        self.assertIn("WRITE", texts)
        self.assertNotIn("WRITE word", texts)  # that would be a modifier

    def test_extremes(self):
        texts = self.texts()
        for text in ('WRITE ""', 'WRITE "long"', 'WRITE "a\\0b"', 'WRITE "\\xFF\\xFE\\x80"',
                     'WRITE "x" size:-2147483648', 'WRITE "x" size:2147483647'):
            self.assertIn(text, texts)


class Replies(unittest.TestCase):
    def test_reading(self):
        self.assertEqual(
            kel.read_reply(' ecode:-1 text:"a\\"\\\\\\n\\x01" path:("x", "y") part:1.5'),
            [("ecode", ("integer", -1)), ("text", ("string", 'a"\\\n\x01')),
             ("path", ("list", [("string", "x"), ("string", "y")])), ("part", ("real", 1.5))])
        self.assertEqual(kel.read_reply(""), [])

    def test_what_is_no_reply(self):
        for text in ("ecode:0", " ecode", " ecode:", ' text:"x', " ecode:0 ", " ecode:0\n"):
            with self.assertRaises(kel.NotKel, msg=text):
                kel.read_reply(text)


if __name__ == "__main__":
    unittest.main()
