"""tavhost check and tavhost commands."""

import json
import unittest

from program import ProgramTest


class CheckTest(ProgramTest):
    def test_nothing_to_say(self):
        self.file("a.tav", "print 1\n")
        self.expect(["check", "a.tav"])
        self.expect(["check", "a.tav", "--json"], "[]\n")
        self.expect(["check", "-"], stdin="print 1")

    def test_mistakes(self):
        self.file("a.tav", "print 1\nif x {\n")
        self.file("b.tav", "print 1\n")
        self.file("c.tav", "  print )\n")
        result = self.run_program("check", "a.tav", "b.tav", "c.tav")
        self.assertEqual((result.err, result.code), ("", 1), result)
        self.assertRegex(result.out, r"(?m)^a\.tav:\d+:\d+: error: \S.*$")
        self.assertRegex(result.out, r"(?m)^c\.tav:1:9: error: \S.*\n  print \)\n        \^\n\Z")

    def test_json(self):
        self.file("c.tav", "  print )\n")
        result = self.run_program("check", "--json", "c.tav")
        self.assertEqual((result.err, result.code), ("", 1), result)
        (found,) = json.loads(result.out)
        self.assertTrue(found.pop("message"))
        self.assertEqual(found, {"file": "c.tav", "line": 1, "column": 9, "severity": "error"})

    def test_json_of_a_script_that_is_no_utf8(self):
        self.file("c.tav", b"print \xff\xfe\n")
        result = self.run_program("check", "--json", "c.tav")
        self.assertEqual((result.err, result.code), ("", 1), result)
        self.assertEqual(len(json.loads(result.out)), 1)

    def test_files_that_cannot_be_read(self):
        self.file("c.tav", "print )\n")
        result = self.run_program("check", "absent.tav", "c.tav")
        self.assertEqual(result.code, 2)
        self.assertIn("c.tav:1:7: error:", result.out)
        self.assertIn("absent.tav", result.err)


class CommandsTest(ProgramTest):
    def test_the_list(self):
        result = self.run_program("commands")
        self.assertEqual((result.err, result.code), ("", 0))
        names = self.run_program("run", "-e", 'GET_MP_COMMANDS "TavScript"; print commands')
        for name in names.out.split():
            self.assertRegex(result.out, rf"(?m)^ *{name}\b")

    def test_one_command(self):
        result = self.run_program("commands", "SLEEP")
        self.assertEqual((result.err, result.code), ("", 0))
        self.assertTrue(result.out.startswith("SLEEP"))
        self.assertIn("ms", result.out)

    def test_json(self):
        whole = json.loads(self.run_program("commands", "--json").out)
        self.assertIn("SLEEP", json.dumps(whole))
        one = json.loads(self.run_program("commands", "SLEEP", "--json").out)
        self.assertEqual(one["name"], "SLEEP")

    def test_an_unknown_command(self):
        result = self.run_program("commands", "SLEP")
        self.assertEqual((result.out, result.code), ("", 2))
        self.assertIn('did you mean "SLEEP"?', result.err)


if __name__ == "__main__":
    unittest.main()
