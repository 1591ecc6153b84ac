"""tavhost check and tavhost commands."""

import json
import time
import unittest

import program
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

    def test_many_mistakes_in_one_line(self):
        count = 8000
        self.file("a.tav", 'FREAD file:"a" ' + " ".join(f"p{i}:1" for i in range(count)))
        begin = time.monotonic()
        result = self.run_program("check", "a.tav")
        if not program.sanitized:
            self.assertLess(time.monotonic() - begin, 4)  # 9 s when each took the whole line
        self.assertEqual(result.code, 1)
        self.assertEqual(result.out.count("unknown parameter"), count)
        self.assertLess(len(result.out), count * 1500)

    def test_a_long_line_is_shown_cut(self):
        before, behind = "# ä" * 1000, "ö" * 100_000
        for text, column, shown, caret in (
                (f"print )  # {behind}", 7, "print )  # öö", 6),
                (f'x = "{before}" )  # {behind}', 3008, 'ä" )  # ö', None),
                (f'x = "{before}" )', 3008, 'ä" )', None)):
            self.file("a.tav", text)
            for arguments in (["check", "a.tav"], ["run", "a.tav"]):
                with self.subTest(text[:10], arguments=arguments):
                    result = self.run_program(*arguments)
                    head, line, mark = (result.out or result.err).splitlines()
                    self.assertTrue(head.startswith(f"a.tav:1:{column}: error: "), head)
                    self.assertIn(shown, line)
                    self.assertLess(len(line.encode()), 420)
                    self.assertEqual(line[mark.index("^")], ")")
                    self.assertEqual(line.startswith("..."), caret is None)
                    self.assertEqual(line.endswith("..."), behind in text)

    def test_json(self):
        self.file("c.tav", "  print )\n")
        result = self.run_program("check", "--json", "c.tav")
        self.assertEqual((result.err, result.code), ("", 1), result)
        (found,) = json.loads(result.out)
        self.assertTrue(found.pop("message"))
        self.assertEqual(found, {"file": "c.tav", "line": 1, "column": 9, "length": 1,
                                 "severity": "error"})

    def test_what_is_likely_meant(self):
        self.file("c.tav", 'FREAD fiel:"a.txt"\n')
        result = self.run_program("check", "c.tav")
        self.assertEqual(result.out, 'c.tav:1:7: error: FREAD: unknown parameter "fiel"; did you '
                                     'mean "file"?\nFREAD fiel:"a.txt"\n      ^\n')
        (found,) = json.loads(self.run_program("check", "--json", "c.tav").out)
        self.assertEqual((found["length"], found["replacement"]), (4, "file"))

    def test_hints_are_no_mistakes(self):
        self.file("c.tav", 'QUERYBOX "Go on?" yes-no\n')
        result = self.run_program("check", "c.tav")
        self.assertEqual((result.err, result.code), ("", 0), result)
        self.assertTrue(result.out.startswith("c.tav:1:1: hint: QUERYBOX: "), result)
        (found,) = json.loads(self.run_program("check", "--json", "c.tav").out)
        self.assertEqual(found["severity"], "hint")

    def test_answers(self):
        self.file("c.tav", 'INFOBOX "x"\n')
        self.file("good.kel", "MESSAGE_BOX\n")
        self.file("bad.kel", "# one\n  LIST_BOX\n")
        self.expect(["check", "c.tav", "--answers", "good.kel"])
        self.expect(["check", "--answers", "bad.kel", "c.tav"], code=1, out=(
            "bad.kel:2:3: error: no run of the script takes this answer: INFOBOX in line 1 is "
            "answered by MESSAGE_BOX\n  LIST_BOX\n  ^\n"))
        self.assertEqual(self.run_program("check", "c.tav", "--answers", "absent").code, 2)

    def test_a_long_and_deep_script(self):
        lines = ["x = 1", "while x < 3 { x = x + 1 }"]
        for i in range(4000):
            lines.append(f'if x == {i} {{ y{i % 50} = x; QUERYBOX "?" yes-no }} else {{ y = 2 }}')
        lines += ["while x {" * 400, "x = 0", "}" * 400]
        lines.append("if x { z = 1 }" + "".join(f" else if x == {i} {{ z = {i} }}"
                                                for i in range(4000)))
        self.file("c.tav", "\n".join(lines) + "\nprint z, endbutton\n")
        self.expect(["check", "c.tav"])

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
