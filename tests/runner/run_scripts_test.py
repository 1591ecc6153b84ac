#!/usr/bin/env python3
"""Tests of the script-test runner: what it must report, and that it reports it."""

import re
import socket
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent))
import run_scripts  # noqa: E402


class RunnerTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.scripts = Path(self.folder.name)

    def tearDown(self):
        self.folder.cleanup()

    def write(self, text, name="family/case.tav"):
        path = self.scripts / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)
        return path

    def run_suite(self, *arguments):
        result = subprocess.run(
            [sys.executable, HERE.parent / "run_scripts.py", "--tavhost", HERE / "fake_tavhost.py",
             "--scripts", self.scripts, *arguments], capture_output=True, text=True)
        return result.returncode, result.stdout

    def passes(self, text):
        self.write(text)
        code, out = self.run_suite()
        self.assertEqual((code, out), (0, "1 passed, 0 failed\n"))

    def fails(self, text, *reports):
        self.write(text)
        code, out = self.run_suite()
        self.assertEqual(code, 1, out)
        self.assertIn("FAILED family/case\n", out)
        self.assertTrue(out.endswith("\n0 passed, 1 failed\n"), out)
        for report in reports:
            self.assertIn(report, out)

    def test_output_is_compared_whole_and_in_order(self):
        self.passes("# expect: a\n# expect: b\nout a\nout b\n")
        self.fails("# expect: a\n# expect: b\nout b\nout a\n", "standard output differs")
        self.fails("# expect: a\nout a\nout b\n", "    +b\n")
        self.fails("# expect: a\n# expect: b\nout a\n", "    -b\n")
        self.fails("# expect exit: 0\nout a\n", "    +a\n")

    def test_blanks_and_empty_lines_count(self):
        self.passes("# expect:  a \n# expect:\n# expect: b\nout  a \nout \nout b\n")
        self.fails("# expect: a\nout a \n", "standard output differs")

    def test_standard_error_is_compared_whole_and_empty_when_nothing_is_said(self):
        self.passes("# expect error: a\nerr a\n")
        self.fails("# expect error: a\n", "standard error differs")
        self.fails("# expect exit: 0\nerr a\n", "standard error differs")

    def test_standard_error_may_be_searched_instead(self):
        self.passes("# expect error contains: needle\nerr hay needle hay\nerr more\n")
        self.fails("# expect error contains: needle\nerr hay\n",
                   "standard error does not hold: needle", "    hay\n")

    def test_exit_code(self):
        self.passes("# expect exit: 3\nexit 3\n")
        self.fails("# expect: a\nout a\nexit 3\n", "exit code 3, expected 0")
        self.fails("# expect exit: 3\n", "exit code 0, expected 3")
        self.passes("# expect exit: 139\ncrash\n")
        self.fails("# expect exit: many\n", "not an exit code")

    def test_trace_lines_stand_in_order_with_others_between(self):
        lines = "trace A()\ntrace B()\ntrace C()\n"
        self.passes("# expect trace: A()\n# expect trace: C()\n" + lines)
        self.fails("# expect trace: C()\n# expect trace: A()\n" + lines, "not in the trace")
        self.fails("# expect trace: A(\n" + lines, "the nearest there is: A()")
        self.fails("# expect trace: A()\n# expect trace: A()\n" + lines, "not in the trace")
        self.fails("# expect trace: A()\n", "not in the trace")

    def test_a_trace_line_that_must_not_stand(self):
        self.passes("# expect no trace: B\ntrace A()\n")
        self.fails("# expect no trace: B\ntrace A()\ntrace B()\n", "in the trace, line 2: B()")

    def test_a_test_without_expectations_fails(self):
        self.fails("out a\n", "it expects nothing")
        self.fails("# options: --screen 1x1\nout a\n", "it expects nothing")

    def test_misspelt_and_misplaced_directives_fail(self):
        self.fails("# expect: a\n# expect eror: b\nout a\n", "line 2 is no directive")
        self.fails("# expect: a\nout a\n# expect: b\n", "before the first statement")
        self.fails("# expect[amiga]: a\n", "no platform 'amiga'")
        self.fails("# answers[windows]: a\n# expect: a\n", "the same on every platform")

    def test_options_arguments_environment_and_input(self):
        self.passes('# options: --screen 800x600\n# args: one "two words"\n# env: COLOUR=blue=ish\n'
                    "# stdin: first\n# stdin: second\n# answers: A x:1\n# answers: B\n"
                    "# expect: 800x600\n# expect: ['one', 'two words']\n# expect: blue=ish\n"
                    "# expect: first\n# expect: second\n# expect: A x:1\n# expect: B\n"
                    "# expect: none\n# expect: none\n"
                    "option --screen\nargs\nenv COLOUR\nstdin\nanswers\nenv DISPLAY\n"
                    "option --trace\n")

    def test_a_server_is_there_when_asked_for_and_its_address_in_the_environment(self):
        self.passes("# server: http\n# expect: grüße ✓\n# expect: none\nfetch /text\n"
                    "env TEST_PROXY\n")
        self.passes("# server: http\n# server: proxy\n# expect: GET http://\n"
                    "fetch-by-proxy /echo\n")
        self.passes("# expect: none\nenv TEST_SERVER\n")
        self.fails("# server: ftp\n# expect: a\nout a\n", "line 1: there is no server 'ftp'")
        self.fails("# server : http\n# expect: a\nout a\n", "line 1 is no directive")

    def test_a_server_is_gone_after_its_test(self):
        path = self.write("# server: http\n# expect exit: 0\nenv TEST_SERVER\n")
        runner = run_scripts.Runner(HERE / "fake_tavhost.py", self.folder.name)
        problems = runner.run(run_scripts.read_test(path, "case", windows=False))
        port = int(re.search(r"\+http://127\.0\.0\.1:(\d+)", "\n".join(problems))[1])
        with self.assertRaises(ConnectionRefusedError):
            socket.create_connection(("127.0.0.1", port)).close()

    def test_the_environment_of_the_runner_itself_can_be_replaced(self):
        self.passes("# env: TMPDIR=/chosen\n# expect: /chosen\nenv TMPDIR\n")

    def test_the_folder_holds_the_script_and_its_files(self):
        self.write("data\n", "family/case.files/sub/data.txt")
        self.write("# expect: no test\n", "family/case.files/other.tav")
        self.passes("# expect: ['case.tav', 'other.tav', 'sub']\n# expect no trace: x\nfolder\n")

    def test_windows_expectations_replace_their_kind_there_only(self):
        text = ("# expect: a\n# expect[windows]: b\n# expect error: e\n"
                "# expect exit[windows]: 5\n# expect[windows] exit: 0xC0000005\nout a\nerr e\n")
        self.passes(text)
        path = self.write(text)
        here = run_scripts.read_test(path, "case", windows=False)
        there = run_scripts.read_test(path, "case", windows=True)
        self.assertEqual(here.expectations, {"expect": ["a"], "expect error": ["e"]})
        self.assertEqual(there.expectations.pop("expect trace"), [])
        self.assertEqual(there.expectations["expect"], ["b"])
        self.assertEqual(there.expectations["expect error"], ["e"])
        self.assertEqual(there.wanted_exit, 0xC0000005)
        self.assertEqual([line for line, _ in there.windows_lines], [2, 4, 5])

    def test_windows_functions_are_no_part_of_the_trace_there(self):
        path = self.write("# expect trace: CopyFileA(\"a\", \"b\", 0) -> 1\n# expect trace: A()\n")
        here = run_scripts.read_test(path, "case", windows=False)
        there = run_scripts.read_test(path, "case", windows=True)
        self.assertEqual(len(here.expectations["expect trace"]), 2)
        self.assertEqual(there.expectations["expect trace"], ["A()"])

    def test_a_skipped_platform_is_named_with_its_reason(self):
        path = self.write("# skip[windows]: no links there\n# expect: a\nout a\n")
        self.assertIsNone(run_scripts.read_test(path, "case", windows=False).skipped)
        there = run_scripts.read_test(path, "case", windows=True)
        self.assertEqual(there.skipped, "no links there")
        self.assertEqual(there.windows_lines, [(1, "skipped: no links there")])

    def test_one_failure_among_many_is_seen(self):
        for number in range(9):
            self.write("# expect: a\nout a\n", f"many/t{number}.tav")
        self.write("# expect: a\nout b\n", "many/bad.tav")
        code, out = self.run_suite()
        self.assertEqual(code, 1)
        self.assertEqual(out.count("FAILED"), 1)
        self.assertTrue(out.endswith("9 passed, 1 failed\n"), out)

    def test_filters(self):
        self.write("# expect: a\nout a\n", "one/good.tav")
        self.write("# expect: a\nout b\n", "two/bad.tav")
        self.assertEqual(self.run_suite("one/"), (0, "1 passed, 0 failed\n"))
        self.assertEqual(self.run_suite("*/good"), (0, "1 passed, 0 failed\n"))
        code, out = self.run_suite("nothing-of-this-name")
        self.assertEqual((code, out), (1, "no script test was run\n0 passed, 1 failed\n"))

    def test_an_endless_test_is_ended(self):
        path = self.write("# expect: a\nout a\nsleep 60\n")
        limit, run_scripts.TIME_LIMIT_SECONDS = run_scripts.TIME_LIMIT_SECONDS, 0.5
        try:
            runner = run_scripts.Runner(HERE / "fake_tavhost.py", self.folder.name)
            problems = runner.run(run_scripts.read_test(path, "case", windows=False))
        finally:
            run_scripts.TIME_LIMIT_SECONDS = limit
        self.assertEqual(problems[0], "not done after 0.5 s")
        self.assertIn("a", problems)


if __name__ == "__main__":
    unittest.main()
