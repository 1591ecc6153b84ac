#!/usr/bin/env python3
"""`tavhost validate` takes good plug-ins and refuses each broken one for the right reason; a broken
plug-in that cannot be used ends other commands with exit code 4 and the same words."""

import argparse
import json
import re
import signal
import struct
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1]))
import sanitizers  # noqa: E402
import waiting  # noqa: E402

FUNCTIONS = [
    "TavPluginFctGetVersion", "TavPluginFctGetType", "TavPluginFctTavScriptGetExecutionType",
    "TavPluginFctTavScriptGetMessagePortName", "TavPluginFctTavScriptHandleRequestMsg",
    "TavPluginFctTavScriptHandleRequestDirect", "TavPluginFctTavScriptIsCommandExisting",
    "TavPluginFctTavScriptGetAllCommands",
]

# What is found in each: test, result, reason. Nothing else may be found but tests not run.
FAULTS = {
    "wrong-type": [("type", "failed", "has the type 101, not 102")],
    "type-changes": [("type", "failed", "has the type 103, not 102")],
    "wrong-execution-type": [
        ("execution-type", "failed", "has the execution type 43, not 44")],
    "wrong-version": [("version", "failed", r"is made for version \d+ of the host, this one is \d+")],
    "no-port": [("port", "failed", "names no message port")],
    "other-port": [("port", "failed", 'serves the port "TavHost", not "TavScript"')],
    "copied-port": [("port", "failed", "names its port by a copy of the host's name")],
    "separator-at-end": [
        ("list.separator", "failed", 'the list ends with the separator " "'),
        ("list.names", "failed", 'it lists ""'), ("exists.listed", "failed", "it does not know ")],
    "separator-at-begin": [
        ("list.separator", "failed", 'the list begins with the separator " "'),
        ("list.names", "failed", 'it lists ""'), ("exists.listed", "failed", "it does not know ")],
    "ignores-separator": [
        ("list.separator", "failed",
         r'the list joined by " " names other commands than the one joined by "\\n"'),
        ("list.names", "failed", 'it lists "TEST_FIRST TEST_SECOND TEST_THIRD"'),
        ("exists.listed", "failed", "it does not know TEST_FIRST TEST_SECOND TEST_THIRD")],
    "appends": [("list.replaces", "failed",
                 'the receiving text begins "what stood there before')],
    "lower-case-name": [("list.names", "failed", 'it lists "test_second"')],
    "same-name-twice": [("list.names", "failed", "it lists TEST_FIRST twice")],
    "knows-everything": [("exists.others", "failed", 'it knows ""')],
    "knows-beginnings": [("exists.listed", "failed", "it does not know TEST_SECOND"),
                         ("exists.others", "failed", 'it knows ""')],
    "knows-nothing": [("exists.listed", "failed", "it does not know TEST_FIRST")],
    "handles-unknown": [
        ("unknown.result", "failed", "it says that it carried out NO_SUCH_COMMAND")],
    "writes-for-unknown": [("unknown.result", "failed", "it wrote the variable ecode")],
    "reports-unknown": [("unknown.result", "failed", 'it wrote the error "unknown"')],
    "handles-unknown-message": [
        ("unknown.message", "failed", "it says that it carried out NO_SUCH_COMMAND")],
    "throws": [("unknown.result", "failed", "let an exception out: what happened")],
    "throws-a-number": [("unknown.result", "failed", "let an exception out: of an unknown type")],
    "exits": [(test, "failed", "the process ended with exit code 0 before the test was done")
              for test in ("exists.listed", "exists.others")],
    "crashes": [(test, "crashed", "signal 11, Segmentation fault")
                for test in ("list.separator", "list.replaces", "list.names", "exists.listed",
                             "exists.others", "reload")],
    "hangs": [("unknown.message", "timed out", r"no end within \d+ seconds")],
    "crashes-at-load": [("load", "crashed", "signal 11, Segmentation fault")],
    "crashes-at-unload": None,  # every test that loads it, see below
    "enters-a-port": [("load.quiet", "failed", "it changed the host's ports")],
    "stays-loaded": [("unload", "failed", "it stays in the process")],
    "needs-more": [("load", "failed", "cannot be loaded: undefined symbol: .*NobodyHasThis.*")],
}

options = None


def run(*arguments, **more):
    return subprocess.run([options.tavhost, *map(str, arguments)], stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, timeout=120,
                          **more)


def validate(path):
    environment = sanitizers.environment_for_faults() if "crashes" in path.name else None
    result = run("validate", path, "--json", env=environment)
    return result.returncode, json.loads(result.stdout)


def loaded_size(library):
    """How much of a 64-bit ELF file is loaded; what is behind is for debuggers."""
    table, = struct.unpack_from("<Q", library, 32)
    size, count = struct.unpack_from("<HH", library, 54)
    headers = (struct.unpack_from("<IIQQQQ", library, table + i * size) for i in range(count))
    return max(offset + length for kind, _, offset, _, _, length in headers if kind == 1)


def broken(way):
    return Path(options.broken) / f"{way}.so"


def is_running(pid):
    try:
        return Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()[0] != "Z"
    except OSError:
        return False


def hanging_child(pid):
    """The child of a program that runs the test in which the plug-in hangs; None so far."""
    for child in Path(f"/proc/{pid}/task/{pid}/children").read_text().split():
        try:
            if b"unknown.message" in Path(f"/proc/{child}/cmdline").read_bytes():
                return int(child)
        except OSError:
            pass
    return None


class ValidateTest(unittest.TestCase):
    def check(self, path, expected):
        code, report = validate(path)
        self.assertEqual(code, 1, report)
        self.assertFalse(report["passed"])
        found = [(test["id"], test["result"], test["reason"]) for test in report["tests"]
                 if test["result"] not in ("passed", "not run")]
        self.assertEqual([fault[:2] for fault in found], [fault[:2] for fault in expected], found)
        for (_, _, reason), (_, _, pattern) in zip(found, expected):
            if reason != pattern:
                self.assertRegex(reason, "^" + pattern)
        return report

    def assert_not_run_behind(self, report, gate):
        ids = [test["id"] for test in report["tests"]]
        behind = report["tests"][ids.index(gate) + 1:]
        self.assertTrue(behind)
        self.assertEqual({test["result"] for test in behind}, {"not run"})

    def test_the_real_one_passes(self):
        code, report = validate(options.plugin)
        found = [test["id"] for test in report["tests"] if test["result"] != "passed"]
        # Built with sanitizers it stays, so that the search for leaks sees what it owns.
        self.assertEqual(found, ["unload"] if options.sanitized else [], report)
        self.assertEqual((code, report["passed"]), (1, False) if found else (0, True))

    def test_good_ones_pass(self):
        for way in ("good", "noisy"):
            code, report = validate(broken(way))
            self.assertEqual((code, report["passed"]), (0, True), report)

    def test_a_caller_that_does_not_care_for_children(self):
        ignored = signal.signal(signal.SIGCHLD, signal.SIG_IGN)
        try:
            process = subprocess.Popen([options.tavhost, "validate", broken("good")],
                                       stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                       restore_signals=False, text=True)
        finally:
            signal.signal(signal.SIGCHLD, ignored)
        out, _ = process.communicate(timeout=120)
        self.assertEqual(process.returncode, 0, out)

    def test_every_test_has_an_id_and_a_sentence(self):
        _, report = validate(broken("good"))
        ids = [test["id"] for test in report["tests"]]
        self.assertEqual(len(ids), len(set(ids)))
        for test in report["tests"]:
            self.assertRegex(test["sentence"], r"^[A-Z].*\.$")

    def test_the_child_ends_with_the_program(self):
        for number, code in ((signal.SIGINT, 130), (signal.SIGTERM, 143), (signal.SIGHUP, 143),
                             (signal.SIGKILL, -signal.SIGKILL)):
            with self.subTest(number):
                process = subprocess.Popen([options.tavhost, "validate", broken("hangs")],
                                           stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                           stderr=subprocess.DEVNULL)
                try:
                    child = waiting.until(lambda: hanging_child(process.pid), "the plug-in hangs")
                    process.send_signal(number)
                    self.assertEqual(process.wait(timeout=10), code)
                    waiting.until(lambda: not is_running(child), "the child ends")
                finally:
                    process.kill()
                    process.wait()

    def test_the_time_limit(self):
        process = subprocess.Popen(
            [options.tavhost, "validate", "--timeout", "2", broken("hangs")],
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        child = waiting.until(lambda: hanging_child(process.pid), "the plug-in hangs")
        _, err = process.communicate(timeout=10)
        self.assertEqual((process.returncode, err),
                         (124, b"tavhost: stopped after 2 s (--timeout)\n"))
        waiting.until(lambda: not is_running(child), "the child ends")

    def test_text_names_what_failed(self):
        result = run("validate", broken("wrong-type"))
        self.assertEqual(result.returncode, 1)
        self.assertIn("failed     Its type is 102, on every call.\n"
                      "           [type] has the type 101, not 102\n", result.stdout)
        self.assertRegex(result.stdout, r"\n(\d+) of (\d+) tests passed\n$")
        self.assertEqual(result.stderr, "")

    def test_missing_functions(self):
        for name in FUNCTIONS:
            with self.subTest(name):
                report = self.check(broken(f"without-{name}"),
                                    [(f"export.{name}", "failed", f"does not export {name}")])
                self.assert_not_run_behind(report, f"export.{FUNCTIONS[-1]}"
                                           if name == FUNCTIONS[-1] else "export." + FUNCTIONS[-1])

    def test_crash_at_unload_is_a_result_everywhere(self):
        _, report = validate(broken("crashes-at-unload"))
        results = {test["id"]: test["result"] for test in report["tests"]}
        self.assertEqual(results["file"], "passed")
        self.assertEqual(results["load"], "crashed")

    def test_files_that_are_no_libraries(self):
        with tempfile.TemporaryDirectory() as folder:
            folder = Path(folder)
            good = broken("good").read_bytes()
            text = folder / "text.so"
            text.write_text("not a library, but long enough to hold the header of one: " + "x" * 64)
            empty = folder / "empty.so"
            empty.touch()
            program = folder / "program.so"
            program.write_bytes(good[:16] + struct.pack("<H", 2) + good[18:])
            machine = folder / "machine.so"
            machine.write_bytes(good[:18] + struct.pack("<H", 0xF3) + good[20:])
            narrow = folder / "narrow.so"
            narrow.write_bytes(good[:4] + b"\x01" + good[5:])
            for path, reason in (
                    (text, "is not a shared library"), (empty, "is not a shared library"),
                    (program, "is not a shared library"),
                    (machine, "was built for another kind of machine"),
                    (narrow, "was built for another kind of machine"),
                    (Path("/dev/null"), "is not a shared library")):
                with self.subTest(path.name):
                    report = self.check(path, [("file", "failed", reason)])
                    self.assert_not_run_behind(report, "file")
                    self.check_refused(path, reason)
            for path, reason in ((folder / "missing.so", "No such file or directory"),
                                 (folder, "Is a directory")):
                with self.subTest(path.name):
                    result = run("validate", path, "--json")
                    self.assertEqual((result.returncode, result.stdout, result.stderr), (
                        2, "", f'tavhost: plug-in "{path}" cannot be read: {reason}\n'))
                    self.check_refused(path, "cannot be read: " + reason)

    def test_files_that_are_cut_short(self):
        with tempfile.TemporaryDirectory() as folder:
            path = Path(folder) / "cut.so"
            good = broken("good").read_bytes()
            for size in (1, 4, 63, 64, 100, 4096, loaded_size(good) // 2):
                with self.subTest(size):
                    path.write_bytes(good[:size])
                    reason = ("is not a shared library" if size < 4 else
                              rf"is cut short: it has {size} of at least \d+ bytes")
                    self.check(path, [("file", "failed", reason)])
                    self.check_refused(path, reason)

    def check_refused(self, path, pattern):
        result = run("--plugin", path, "send", "GET_DISPLAY_SIZE")
        self.assertEqual(result.returncode, 4, result.stderr)
        self.assertEqual(result.stdout, "")
        self.assertRegex(result.stderr, rf'plug-in "{re.escape(str(path))}" {pattern}')

    def test_other_commands_refuse_it_too(self):
        for way, pattern in (
                [(f"without-{name}", f"does not export {name}") for name in FUNCTIONS] +
                [(way, FAULTS[way][0][2]) for way in
                 ("wrong-type", "wrong-execution-type", "wrong-version", "no-port", "other-port",
                  "copied-port", "needs-more")]):
            with self.subTest(way):
                self.check_refused(broken(way), pattern)

    def test_exceptions_become_errors(self):
        for command, error in (("TEST_SECOND", "internal error: no good"),
                               ("TEST_THIRD", "internal error: unknown exception")):
            result = run("--plugin", broken("good"), "send", command)
            self.assertEqual(result.returncode, 1)
            self.assertEqual(result.stdout, f' error:"{command}: {error}"\n')


def add_fault_tests():
    for way, expected in FAULTS.items():
        if expected is not None:
            def test(self, way=way, expected=expected):
                self.check(broken(way), expected)
            setattr(ValidateTest, "test_" + way.replace("-", "_"), test)


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--tavhost", required=True)
    parser.add_argument("--plugin", required=True, type=Path)
    parser.add_argument("--broken", required=True)
    parser.add_argument("--sanitized", action="store_true")
    options, rest = parser.parse_known_args()
    add_fault_tests()
    unittest.main(argv=[sys.argv[0], *rest])
