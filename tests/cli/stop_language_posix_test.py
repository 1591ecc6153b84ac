"""A stop reaches what built-in functions and operators are in the middle of, within a second."""

import json
import signal
import time
import unittest

import program
import waiting
from program import ProgramTest

LIMIT = 1.0  # seconds from the request to the end of the program
TIME_OUT = 1.5  # seconds; by then each script below is in its last line on a machine at rest
STOPPED_BY_TIME = 124  # exit codes
STOPPED_BY_INTERRUPT = 130

# What a script prepares, and the one statement that would take minutes or more.
NESTED = "a = (1, 2)\nb = (1, 2)\nfor i from 1 to 45 { a = (a, a); b = (b, b) }\n"
RECORDS = "a = (x: 1)\nb = (x: 1)\nfor i from 1 to 45 { a = (x: a, y: a); b = (x: b, y: b) }\n"
LONG = 's = "äxyz "\nfor i from 1 to 22 { s = s + s }\n'  # 24 MB
ALIKE = 's = "a"\nfor i from 1 to 23 { s = s + s }\np = slice(s, 0, 4000000) + "b"\n'
LOOP = "while 1 { %s }"
OPERATIONS = {
    "equal": (NESTED, "print a == b"),
    "equal records": (RECORDS, "print a != b"),
    "equal in a condition": (NESTED, "if a == b { print 1 }"),
    "contains": (NESTED, "print contains((0, b), a)"),
    "str": (NESTED, "x = str(a)"),
    "kel_text": (NESTED, "x = kel_text(a)"),
    "print": (NESTED, "print a"),
    "join": (NESTED, 'x = join((a, a), ",")'),
    "format": (NESTED, 'x = format("{} {}", 1, a)'),
    "text and list": (NESTED, 'x = "" + a'),
    "throw": (NESTED, "throw a"),
    "find": (ALIKE, "print find(s, p)"),
    "contains a text": (ALIKE, "print contains(s, p)"),
    "replace": (ALIKE, 'x = replace(s, p, "")'),
    "split": (ALIKE, "x = split(s, p)"),
    "find short": (LONG, LOOP % 'i = find(s, "nowhere")'),
    "replace short": (LONG, LOOP % 'x = replace(s, "x", "y")'),
    "split short": (LONG, LOOP % 'x = split(s, " ")'),
    "split characters": (LONG, LOOP % 'x = split(s, "")'),
    "upper": (LONG, LOOP % "x = upper(s)"),
    "lower": (LONG, LOOP % "x = lower(s)"),
    "join texts": (LONG + 'l = split(s, " ")\n', LOOP % 'x = join(l, "-")'),
    "format a text": (LONG, LOOP % 'x = format("{:>9999} {0}", s)'),
    "slice": (LONG, LOOP % "x = slice(s, 1, -1)"),
    "slice a list": ("l = range(3000000)\n", LOOP % "x = slice(l, 1)"),
    "len": (LONG, LOOP % 's = s + "x"; n = len(s)'),
    "a character": (LONG, LOOP % 's = s + "x"; c = s[12345678]'),
    "range": ("", LOOP % "x = range(100000000)"),
    "add to a text": (LONG, LOOP % 'x = "a"; x = x + s'),
    "less": (LONG + 't = s + "x"\n', LOOP % "x = s < t"),
    "change what is shared": ("l = range(3000000)\n", LOOP % "m = l; m[0] = 1"),
    "push to what is shared": ("l = range(3000000)\n", LOOP % "m = l; push(m, 1)"),
    "add lists": ("l = range(3000000)\n", LOOP % "m = l + l; m += l"),
    "min": ("l = range(3000000)\n", LOOP % "x = min(l)"),
    "keys": ("r = (first: 0)\nfor i from 1 to 100000 { r[\"k\" + i] = i }\n", LOOP % "x = keys(r)"),
    "trim": ('s = " "\nfor i from 1 to 24 { s = s + s }\n', LOOP % "x = trim(s)"),
    "kel_parse": ('s = "A 1 b:2;"\nfor i from 1 to 17 { s = s + s }\n', LOOP % "x = kel_parse(s)"),
    "kel_parse a list": ('s = "(1, 2),"\nfor i from 1 to 20 { s = s + s }\ns = "A (" + s + ")"\n',
                         LOOP % "x = kel_parse(s)"),
    "re_match": ('s = "a"\nfor i from 1 to 19 { s = s + s }\n', 'x = re_match(s, "(a?){300}b")'),
    "re_all": ('s = "ab"\nfor i from 1 to 18 { s = s + s }\n', LOOP % 'x = re_all(s, "(a)|(b)")'),
    "re_replace": ('s = "ab"\nfor i from 1 to 18 { s = s + s }\n',
                   LOOP % 'x = re_replace(s, "a", "$&$&")'),
    "time_text": ('f = "%A %j "\nfor i from 1 to 22 { f = f + f }\n', LOOP % "x = time_text(0, f)"),
    "time_parse": ('f = "%%%%"\nfor i from 1 to 23 { f = f + f }\n'
                   's = replace(f, "%%", "%")\n', LOOP % "x = time_parse(s, f)"),
    "re_split": ('s = "ab"\nfor i from 1 to 18 { s = s + s }\n', LOOP % 'x = re_split(s, "b")'),
}


class StopTest(ProgramTest):
    def script(self, name):
        """The script's file, and the mark that it makes before the long statement."""
        before, long_one = OPERATIONS[name]
        mark = waiting.Mark(self.folder)
        return self.file("a.tav", before + mark.command + long_one + "\n"), mark

    def end_of(self, process, begin):
        out, err = process.communicate(timeout=program.TIME_LIMIT)
        took = time.monotonic() - begin
        if not program.sanitized:
            self.assertLess(took, LIMIT)
        return process.returncode, err.decode("utf-8", "replace")

    def test_interrupt(self):
        for name in OPERATIONS:
            with self.subTest(name):
                script, mark = self.script(name)
                process = self.start("run", script)
                mark.wait()
                waiting.until_at_work(process)
                begin = time.monotonic()
                process.send_signal(signal.SIGINT)
                code, err = self.end_of(process, begin)
                self.assertEqual(code, STOPPED_BY_INTERRUPT, err)
                mark.remove()

    def test_time_limit(self):
        for name in OPERATIONS:
            with self.subTest(name):
                script, mark = self.script(name)
                # A machine that is busy may take longer to come to the last line.
                for limit in (TIME_OUT, 3 * TIME_OUT, 9 * TIME_OUT):
                    begin = time.monotonic()
                    process = self.start("run", "--timeout", str(limit), script)
                    code, err = self.end_of(process, begin + limit)
                    self.assertEqual(code, STOPPED_BY_TIME, err)
                    self.assertIn("(--timeout)", err)
                    if mark.exists():
                        break
                mark.remove()


MILLION = 1_000_000


class LongScriptTest(ProgramTest):
    """Of 40 MB: while it is read, parsed, compiled, and checked, and while it runs."""

    SCRIPTS = {
        "statements": "x = 1\n" * (20 * MILLION // 3),
        "an expression": "x = (" + "1," * (20 * MILLION) + ")",
        "a line that is no script": "x = 1 " * (20 * MILLION // 3),
        "mistakes": "FREAD " + " ".join(f"p{i}:1" for i in range(4 * MILLION)),
    }

    def ended(self, process, code, sign=signal.SIGTERM):
        try:
            waiting.until_at_work(process)
            begin = time.monotonic()
            process.send_signal(sign)
            process.communicate(timeout=program.TIME_LIMIT)
            self.assertEqual(process.returncode, code)
            if not program.sanitized:
                self.assertLess(time.monotonic() - begin, LIMIT)
        finally:
            process.kill()
            process.communicate()

    def test_in_each_subcommand(self):
        for name, text in self.SCRIPTS.items():
            self.file("a.tav", text)
            for arguments in (["run", "a.tav"], ["check", "a.tav"], ["check", "--json", "a.tav"]):
                with self.subTest(name, arguments=arguments):
                    self.ended(self.start(*arguments), 143)
            for arguments in (["run", "-"], ["repl"], ["send", "-"]):
                with self.subTest(name, arguments=arguments):
                    with open(self.folder / "a.tav", "rb") as script:
                        self.ended(self.start(*arguments, stdin=script), 130, signal.SIGINT)

    def test_time_limit(self):
        self.file("a.tav", "while 1 {\n" + "x = 1\n" * (20 * MILLION // 3) + "}\n")
        # A busy machine may not have come to the script's first line by then.
        for limit in (TIME_OUT, 3 * TIME_OUT, 9 * TIME_OUT):
            begin = time.monotonic()
            result = self.run_program("run", "--timeout", str(limit), "a.tav")
            if not program.sanitized:
                self.assertLess(time.monotonic() - begin, limit + LIMIT)
            self.assertEqual(result.code, STOPPED_BY_TIME, result)
            if " at " in result.err:
                break
        self.assertEqual(result.err.partition(" at ")[0],
                         f"tavhost: stopped after {limit} s (--timeout)")
        self.assertRegex(result.err, r" at a\.tav:\d+\n$")

    def test_in_the_language_server(self):
        document = {"uri": "file:///a.tav", "languageId": "tavscript", "version": 1,
                    "text": self.SCRIPTS["statements"]}
        calls = [("initialize", {"capabilities": {}}),
                 ("textDocument/didOpen", {"textDocument": document})]
        with open(self.folder / "calls", "wb") as file:
            for number, (method, params) in enumerate(calls):
                body = json.dumps({"jsonrpc": "2.0", "id": number, "method": method,
                                   "params": params}).encode()
                file.write(b"Content-Length: %d\r\n\r\n%s" % (len(body), body))
        for sign, code in ((signal.SIGTERM, 143), (signal.SIGINT, 130), (signal.SIGHUP, 143)):
            with open(self.folder / "calls", "rb") as calls:
                self.ended(self.start("lsp", stdin=calls), code, sign)


if __name__ == "__main__":
    unittest.main()
