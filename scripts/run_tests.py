#!/usr/bin/env python3
"""Runs the tests of a build, step by step, and adds them up.

    scripts/run_tests.py GROUP...

Groups: format; sources (what can be said of them without building); native; windows (under Wine);
fuzz (each fuzzer on the same inputs each time; --explore looks for new ones).
"""

import argparse
import concurrent.futures
import json
import os
import re
import shutil
import subprocess
import sys
import time
import xml.etree.ElementTree as ElementTree
from pathlib import Path

sys.dont_write_bytecode = True
ROOT = Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tests"))
sys.path.insert(0, str(ROOT / "scripts"))
import fuzzers  # noqa: E402
import wine  # noqa: E402

EXPORTS = re.findall(r"^\s+(\w+)$", (ROOT / "plugin/exports.def").read_text(), re.MULTILINE)
SUMMARY = re.compile(r"(\d+) passed, (\d+) failed")


class Totals:
    def __init__(self):
        self.passed = self.failed = 0
        self.failed_steps = []

    def add(self, step, passed, failed, seconds, note=""):
        self.passed += passed
        self.failed += failed
        if failed:
            self.failed_steps.append(step)
        print(f"  {step:<28} {passed} passed, {failed} failed  ({seconds:.0f} s){note}", flush=True)


def output_of(command, **more):
    result = subprocess.run([str(part) for part in command], cwd=ROOT, stdin=subprocess.DEVNULL,
                            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                            errors="replace", **more)
    return result.returncode, result.stdout


def by_summary(command):
    """A runner that ends in "N passed, N failed" itself."""
    code, out = output_of(command)
    found = SUMMARY.findall(out)
    lines = out.rstrip("\n").split("\n")
    passed, failed = map(int, found[-1]) if found else (0, 1)
    if found:
        lines = [line for line in lines if not SUMMARY.match(line)]
    if lines and "".join(lines):
        print("\n".join(lines))
    if code != 0 and failed == 0:
        print(f"{command[0]} ended with exit code {code}")
        failed = 1
    return passed, failed


def python_tests(*commands):
    """Programs of unittest, each a list of path and arguments, side by side."""
    passed = failed = 0
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        results = list(pool.map(lambda command: output_of([sys.executable, *command]), commands))
    for code, out in results:
        ran = int(re.search(r"^Ran (\d+) test", out, re.MULTILINE)[1]) if "\nRan " in out else 0
        bad = sum(int(n) for n in re.findall(r"(?:failures|errors)=(\d+)", out)) or (code != 0)
        skipped = sum(int(n) for n in re.findall(r"skipped=(\d+)", out))
        if code:
            print(out)
        else:
            for line in re.findall(r"^different here: .*$", out, re.MULTILINE):
                print(line)
        passed, failed = passed + max(ran - bad - skipped, 0), failed + bad
    return passed, failed


def tests_of_the_runners():
    """Tests of the tools that test: the script-test runner, the checks of the sources."""
    return python_tests(*([path] for path in sorted((ROOT / "tests/runner").glob("*_test.py"))))


def windows_network():
    """Requests and the script service, over real sockets on loopback."""
    return python_tests([ROOT / "tests/http/http_test.py", "--wine"],
                        [ROOT / "tests/service/service_test.py", "--wine", "--seconds", "8"],
                        # Of Many not those with a thousand connections and not the flood: on a busy
                        # machine Wine takes longer to bring these up than the 30 s in which a request
                        # has to come or its reply is waited for. Sockets and SlowReaders are about
                        # what the service does not have on Windows.
                        [ROOT / "tests/service/connections_test.py", "--wine", "Holder",
                         "Leaving", "Log", "Many.test_200_at_once",
                         "Many.test_a_full_queue_answers_503_and_loses_nobody", "Questions",
                         "Reasons", "Replies", "Starting", "TimeLimit"])


def check(*command):
    """A check of the sources: silent, or with what is wrong."""
    code, out = output_of(command)
    if code:
        print(out, end="")
    return (0, 1) if code else (1, 0)


def check_of_sources(name):
    return check(sys.executable, ROOT / "scripts" / name)


def google_test_counts(folder):
    """(passed, failed) of all reports in a folder, and how many programs had a failure."""
    passed = failed = programs = bad_programs = 0
    for report in folder.glob("*.json"):
        counts = json.loads(report.read_text())
        bad = counts["failures"] + counts.get("errors", 0)
        passed += counts["tests"] - bad - counts.get("disabled", 0)
        failed += bad
        programs += 1
        bad_programs += bad > 0
    return passed, failed, programs, bad_programs


def ctest(build):
    """All that CTest knows; a GoogleTest program counts with each of its tests. Three at a time keep
    two processors busy, since many of them wait more than they compute."""
    reports = build / "test-reports"
    shutil.rmtree(reports, ignore_errors=True)
    reports.mkdir()
    code, out = output_of(
        ["ctest", "--test-dir", build, "--output-on-failure", "-j", "3", "--timeout", "300",
         "--output-junit", reports / "ctest.xml", "--no-tests=error"],
        env={**os.environ, "GTEST_OUTPUT": f"json:{reports}/", "GTEST_BRIEF": "1"})
    if code:
        print(out)
    try:
        suite = ElementTree.parse(reports / "ctest.xml").getroot()
    except (OSError, ElementTree.ParseError):
        return 0, 1
    cases = suite.findall("testcase")
    failed = sum(1 for case in cases if case.get("status") == "fail")
    passed = len(cases) - failed
    more_passed, more_failed, programs, bad = google_test_counts(reports)
    passed += more_passed - (programs - bad)
    failed += more_failed - bad
    return passed, failed or int(code != 0)


def fuzz(explore_seconds):
    """Each fuzzer, two side by side; what one finds is a failure."""
    build = ROOT / "build-fuzz"
    programs = fuzzers.fuzzers(build, ROOT / "tests")

    def is_quiet(fuzzer):
        if explore_seconds:
            return fuzzers.explore(fuzzer, build, explore_seconds)
        return fuzzers.run_fixed(fuzzer, build)

    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        passed = sum(pool.map(is_quiet, programs))
    return (passed, len(programs) - passed) if programs else (0, 1)


# What follows tests the Windows build.

def windows_unit_tests():
    program = ROOT / "build-windows/bin/tavhost_unit_tests.exe"
    report = ROOT / "build-windows/test-reports"
    shutil.rmtree(report, ignore_errors=True)
    report.mkdir(parents=True)
    with wine.Wine(program) as machine:
        code, out = output_of(
            machine.command([program, "--gtest_brief=1"]),
            env={**os.environ, **machine.environment(), "GTEST_OUTPUT": f"json:Z:{report}/unit.json"})
    passed, failed, programs, _ = google_test_counts(report)
    if code or not programs:
        print(out)
    return passed, failed or int(code != 0 or not programs)


def windows_crashes():
    return python_tests([ROOT / "tests/plugins/crash_test.py", "--wine"])


def windows_exports():
    """The plug-in is a 64-bit DLL and shows exactly the eight names."""
    module = ROOT / "build-windows/bin/plugins/tavscript_commands.dll"
    code, out = output_of(["x86_64-w64-mingw32-objdump", "-p", module])
    names = out.partition("[Ordinal/Name Pointer] Table")[2].partition("\n\n")[0]
    exported = re.findall(r"^\s+\[\s*\d+\]\s+(?:\+base\[\s*\d+\]\s+[0-9a-f]+\s+)?(\S+)$", names,
                          re.MULTILINE)
    problems = []
    if code or "file format pei-x86-64" not in out:
        problems.append("not a 64-bit Windows file")
    if not re.search(r"^\s+DLL$", out, re.MULTILINE):
        problems.append("not a DLL")
    if not re.search(r"^Magic\s+020b\s+\(PE32\+\)", out, re.MULTILINE):
        problems.append("not PE32+")
    if sorted(exported) != sorted(EXPORTS):
        problems.append(f"exports {sorted(exported)}, not {sorted(EXPORTS)}")
    for problem in problems:
        print(f"{module.name}: {problem}")
    return (0, 1) if problems else (1, 0)


def windows_validate():
    program = ROOT / "build-windows/bin/tavhost.exe"
    with wine.Wine(program) as machine:
        code, out = output_of(
            machine.command([program, "validate",
                             "build-windows/bin/plugins/tavscript_commands.dll"]),
            env={**os.environ, **machine.environment()})
    if code:
        print(out)
    return (0, 1) if code else (1, 0)


def watch_sanitizers(build):
    """Has the programs of a build with sanitizers write what they find into files: much of it would
    go to where no test looks. True when it is such a build."""
    cache = build / "CMakeCache.txt"
    if not cache.exists() or not re.search(r"^TAVHOST_SANITIZE:\w+=.", cache.read_text(), re.MULTILINE):
        return False
    reports = build / "sanitizer-reports"
    shutil.rmtree(reports, ignore_errors=True)
    reports.mkdir()
    for name, more in (("ASAN_OPTIONS", None), ("UBSAN_OPTIONS", None),
                       ("TSAN_OPTIONS", f"suppressions={ROOT}/tests/threads.supp")):
        given = os.environ.get(name)
        os.environ[name] = ":".join(filter(None, (given, more, f"log_path={reports}/report")))
    return True


def sanitizer_reports(build):
    """What the sanitizers found in all the steps before."""
    reports = sorted((build / "sanitizer-reports").iterdir())
    for report in reports:
        print(f"{report.name}:\n{report.read_text(errors='replace')}")
    return (0, len(reports)) if reports else (1, 0)


def script_tests(*arguments):
    return by_summary([sys.executable, ROOT / "tests/run_scripts.py", *arguments])


def reference_tests(program, *arguments):
    return by_summary([sys.executable, ROOT / "tests/reference" / program, *arguments])


def groups(options):
    after, slow = [], []
    if "native" in options.groups and watch_sanitizers(options.build):
        slow = ["--limit", "10"]  # sanitizers slow all things down
        after = [("sanitizer reports", lambda: sanitizer_reports(options.build))]
    return {
        "format": [("format", lambda: check(ROOT / "scripts/lint"))],
        "sources": [("includes", lambda: check_of_sources("check_includes.py")),
                    ("READMEs", lambda: check_of_sources("check_readmes.py")),
                    ("callers", lambda: check_of_sources("check_callers.py"))],
        "native": [("tests of the runners", tests_of_the_runners),
                   ("unit tests and checks", lambda: ctest(options.build)),
                   ("script tests", lambda: script_tests("--tavhost", options.build / "bin/tavhost")),
                   ("stops", lambda: by_summary(
                       [sys.executable, ROOT / "tests/stop/run.py",
                        "--tavhost", options.build / "bin/tavhost", *slow])),
                   ("seeded mistakes", lambda: by_summary(
                       [sys.executable, ROOT / "tests/check/run.py",
                        "--tavhost", options.build / "bin/tavhost"])),
                   ("every parameter", lambda: reference_tests(
                       "sweep.py", "--tavhost", options.build / "bin/tavhost")),
                   ("examples of the commands", lambda: reference_tests(
                       "examples.py", "--tavhost", options.build / "bin/tavhost")), *after],
        "windows": [("Windows exports", windows_exports),
                    ("Windows unit tests", windows_unit_tests),
                    ("Windows validate", windows_validate),
                    ("Windows crashes", windows_crashes),
                    ("Windows appends", lambda: python_tests(
                        [ROOT / "tests/windows/appends_test.py"])),
                    ("Windows script tests", lambda: script_tests("--wine")),
                    ("Windows network", windows_network),
                    ("Windows watchdog", lambda: python_tests(
                        [ROOT / "tests/plugins/watchdog_test.py", "--wine"])),
                    ("Windows every parameter", lambda: reference_tests("sweep.py", "--wine", "--short")),
                    ("Windows examples", lambda: reference_tests("examples.py", "--wine"))],
        "fuzz": [("fuzzers", lambda: fuzz(options.explore))],
    }


def main():
    parser = argparse.ArgumentParser(description="Runs the tests of a build and adds them up.")
    parser.add_argument("groups", nargs="+", metavar="GROUP",
                        choices=("format", "sources", "native", "windows", "fuzz"),
                        help="format, sources, native, windows (under Wine) or fuzz")
    parser.add_argument("--step", action="append", default=[],
                        help="only steps whose name holds this")
    parser.add_argument("--build", type=Path, default=ROOT / "build", metavar="DIR",
                        help="the native build to test (default: build)")
    parser.add_argument("--explore", type=int, metavar="S",
                        help="let each fuzzer look for new inputs so many seconds")
    options = parser.parse_args()
    options.build = options.build.resolve()
    totals = Totals()
    steps = groups(options)
    for group in options.groups:
        for name, step in steps[group]:
            if options.step and not any(part in name for part in options.step):
                continue
            start = time.monotonic()
            passed, failed = step()
            totals.add(name, passed, failed, time.monotonic() - start)
    if totals.failed_steps:
        print("failed: " + ", ".join(totals.failed_steps))
    print(f"{totals.passed} passed, {totals.failed} failed")
    return 1 if totals.failed else 0


if __name__ == "__main__":
    sys.exit(main())
