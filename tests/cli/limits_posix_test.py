"""What a text, an input or a script may ask for without ending the program."""

import resource
import time
import unittest

import program
from program import ProgramTest

LINKS = 120_000
ADDRESS_SPACE = 256 << 20  # bytes; a list of 200 million numbers takes 3.2 GB


def little_memory():
    resource.setrlimit(resource.RLIMIT_AS, (ADDRESS_SPACE, ADDRESS_SPACE))


def in_kel(text):
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"').replace("\n", "\\n") + '"'


class RunsTest(ProgramTest):
    def test_a_text_without_registers_may_come_first(self):
        self.expect(["repl"], "2\n", stdin='EXECUTE "x=1"\nprint 2\n')
        self.expect(["repl"], "1\n2\n3\n",
                    stdin='EXECUTE "EXECUTE \\"print 1\\""\nEXECUTE "x=1"\nprint 2\nprint 3\n')
        self.expect(["run", "-e", 'EXECUTE "EXECUTE \\"print 1\\""'], "1\n")


class DepthTest(ProgramTest):
    def test_long_paths(self):
        for link, reason in (("[0]", "an integer has no elements"),
                             (".a", "an integer has no fields")):
            script = "t = 1\nx = t" + link * LINKS + "\n"
            name = self.file("deep.tav", script)
            with self.subTest(link):
                result = self.run_program("run", name)
                self.assertEqual(result.code, 1)
                self.assertIn(f"deep.tav:2:5: error: {reason}", result.err[:200])
                self.expect(["check", name])
                result = self.run_program("repl", stdin=script + "print 3\n")
                self.assertEqual((result.out, result.code), ("3\n", 0))
                executed = "t = 1; x = t" + link * LINKS
                name = self.file("outer.tav", f"EXECUTE {in_kel(executed)}\nprint 4\n")
                result = self.run_program("run", name)
                self.assertEqual((result.out, result.code), ("4\n", 0))
                self.assertIn(reason, result.err)

    def test_functions_that_call_each_other(self):
        count = 20_000
        functions = "".join(f"func f{i}() {{ return f{i + 1}() }}\n" for i in range(count))
        script = f'f0()\n{functions}func f{count}() {{ INFOBOX "a" }}\n'
        name = self.file("calls.tav", script)
        answers = self.file("answers.kel", "MESSAGE_BOX\n")
        self.expect(["check", "--answers", answers, name])

    def test_what_stands_behind_the_end(self):
        self.expect(["check", self.file("a.tav", 'exit\nif 1{}t[0]=""')])


@unittest.skipIf(program.sanitized, "a sanitizer needs address space of its own")
class MemoryTest(ProgramTest):
    def run_with_little(self, *arguments, **more):
        return self.run_program(*arguments, preexec_fn=little_memory, **more)

    def test_an_error_at_its_place_that_can_be_caught(self):
        script = ('func huge() {\n  return range(200000000)\n}\n'
                  'try { x = huge() } catch e { print e.message, e.line, e.column }\n'
                  'x = "still here"\nprint x, len(range(1000))\n')
        result = self.run_with_little("run", self.file("a.tav", script))
        self.assertEqual((result.out, result.err, result.code),
                         ("out of memory 2 10\nstill here 1000\n", "", 0))

    def test_an_error_that_nothing_catches(self):
        result = self.run_with_little("run", self.file("a.tav", "x = 1\ny = range(200000000)\n"))
        self.assertEqual((result.out, result.code), ("", 1))
        self.assertEqual(result.err, "a.tav:2:5: error: out of memory\ny = range(200000000)\n"
                                     "    ^\n")

    def test_what_takes_memory_piece_by_piece(self):
        for name, piece in (
                ("list", "l = ()\nwhile 1 { push(l, (1, 2)) }"),
                ("text", 's = "x"\nl = ()\nwhile 1 { s = s + s + "y"; push(l, s) }'),
                ("record", 'r = (first: 0)\ni = 0\nwhile 1 { i = i + 1; r["field " + i] = (i,) }'),
                ("shown", "a = (1, 2)\nfor i from 1 to 60 { a = (a, a) }\nx = str(a)"),
                ("split", 's = "x "\nfor i from 1 to 27 { s = s + s }\nx = split(s, " ")'),
                ("parsed", 's = "A;"\nfor i from 1 to 24 { s = s + s }\nx = kel_parse(s)')):
            with self.subTest(name):
                script = (f"func fill() {{ {piece} }}\n"
                          "try { fill() } catch e { print e.message }\n"
                          "print len(range(1000))\n")
                result = self.run_with_little("run", self.file("a.tav", script))
                self.assertEqual((result.out, result.err, result.code),
                                 ("out of memory\n1000\n", "", 0))

    def test_the_prompt_goes_on(self):
        lines = "x = range(200000000)\nprint 1\nl = ()\nwhile 1 { push(l, (1, 2)) }\nl = 0\nprint 2\n"
        result = self.run_with_little("repl", stdin=lines)
        self.assertEqual((result.out, result.code), ("1\n2\n", 0))
        self.assertEqual(result.err.count("error: out of memory"), 2)

    def test_patterns_never_wrap(self):
        for pattern in ("a{4294967296}", "a{4294967297,}", "a{1,18446744073709551617}"):
            script = f'try {{ re_match("a", "{pattern}") }} catch e {{ print e.message }}'
            self.expect(["run", "-e", script], "re_match: wrong pattern: it is too large\n")
        self.expect(["run", "-e", 'print re_match("aaa", "[{99999}]|a{3}|\\\\{9999999999"), '
                                  're_match("x9", "x[0-9]{1,1}")'], '("aaa") ("x9")\n')


class EveryCharacterTest(ProgramTest):
    """Each character of a long text costs the same, wherever it stands."""

    def test_in_any_order(self):
        script = """
            s = "aé€😀"
            for i from 1 to 18 { s = s + s }
            n = len(s)
            t = s + "é"
            same = 0
            for i from 0 to 99999 {
              if s[n - 1 - i * 7] == t[n - 1 - i * 7] { same = same + 1 }
            }
            print n, same, s[n - 1], t[n], slice(s, n - 3, n - 1)
        """
        begin = time.monotonic()
        self.expect(["run", self.file("a.tav", script)], "1048576 100000 😀 é é€\n")
        if not program.sanitized:
            self.assertLess(time.monotonic() - begin, 5)  # minutes, were each one counted for
