#!/usr/bin/env python3
"""Runs the script tests in tests/scripts; tests/README.md describes what a test file holds."""

import argparse
import concurrent.futures
import contextlib
import difflib
import fnmatch
import os
import re
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from dataclasses import dataclass, field
from pathlib import Path

TESTS = Path(__file__).resolve().parent
ROOT = TESTS.parent
sys.path[:0] = [str(TESTS), str(TESTS / "http")]
sys.dont_write_bytecode = True
import sanitizers  # noqa: E402
import server  # noqa: E402
import wine  # noqa: E402

TIME_LIMIT_SECONDS = 60
WORKERS = 2
SHOWN_LINES = 60  # of an output or trace in a failure's report

DIRECTIVE = re.compile(
    r"^# (?P<kind>options|args|env|stdin|answers|server|skip|"
    r"expect(?: error contains| error| exit| no trace| trace)?)"
    r"(?:\[(?P<platform>[a-z]+)\])?"
    r"(?P<rest> error contains| error| exit| no trace| trace)?:(?: (?P<value>.*))?$")
# Comments that were meant to be directives; they must not pass unread.
LOOKS_LIKE_DIRECTIVE = re.compile(
    r"^#\s*expect\b|^#\s*(options|args|env|stdin|answers|server|skip)\s*(\[.*)?:")
EXPECTATIONS = ("expect", "expect error", "expect error contains", "expect exit", "expect trace",
                "expect no trace")
# What a test may ask for: the variable that tells its script the address, and what makes it.
SERVERS = {"http": ("TEST_SERVER", server.Server), "proxy": ("TEST_PROXY", server.Proxy)}

# The real ones are not traced; on POSIX systems the host supplies them and traces them.
WINDOWS_FUNCTION = re.compile(
    r"^(CopyFileA|CreateDirectoryA|DeleteFileA|Find(Close|FirstFileA|NextFileA)|GetFileAttributesA|"
    r"GetTickCount|GlobalFree|MoveFileA|MsgWaitForMultipleObjectsEx|RemoveDirectoryA|SendMessageA|"
    r"WideCharToMultiByte|WinHttpGetIEProxyConfigForCurrentUser|_chdir|_mkdir|_rmdir)\(")


class BadTest(Exception):
    """The test file itself is wrong."""


@dataclass
class Test:
    name: str
    path: Path
    options: list = field(default_factory=list)
    args: list = field(default_factory=list)
    env: dict = field(default_factory=dict)
    stdin: list = field(default_factory=list)
    answers: list = field(default_factory=list)
    servers: list = field(default_factory=list)  # keys of SERVERS
    expectations: dict = field(default_factory=dict)  # kind -> values, for this platform
    windows_lines: list = field(default_factory=list)  # places that speak of Windows alone
    skipped: str = None  # why this platform does not run it

    @property
    def wanted_exit(self):
        values = self.expectations.get("expect exit", ["0"])
        return int(values[-1], 0)


def read_test(path, name, windows):
    test = Test(name, path)
    common, special = {}, {}
    in_header = True
    for number, line in enumerate(path.read_text("utf-8", "surrogateescape").split("\n"), 1):
        line = line.rstrip("\r")
        if line.strip() and not line.startswith("#"):
            in_header = False
        match = DIRECTIVE.match(line)
        if not match:
            if LOOKS_LIKE_DIRECTIVE.match(line):
                raise BadTest(f"line {number} is no directive: {line}")
            continue
        if not in_header:
            raise BadTest(f"line {number}: directives stand before the first statement")
        kind = match["kind"] + (match["rest"] or "")
        value = match["value"] or ""
        platform = match["platform"]
        if platform not in (None, "windows"):
            raise BadTest(f"line {number}: there is no platform '{platform}'")
        if kind == "skip":
            if platform is None:
                raise BadTest(f"line {number}: skip needs a platform, as in skip[windows]")
            test.windows_lines.append((number, f"skipped: {value}"))
            if windows:
                test.skipped = value
        elif kind in EXPECTATIONS:
            if platform:
                test.windows_lines.append((number, line[2:]))
            (special if platform else common).setdefault(kind, []).append(value)
        elif platform:
            raise BadTest(f"line {number}: '{kind}' is the same on every platform")
        elif kind == "options":
            test.options += shlex.split(value)
        elif kind == "args":
            test.args += shlex.split(value)
        elif kind == "env":
            variable, _, text = value.partition("=")
            test.env[variable] = text
        elif kind == "stdin":
            test.stdin.append(value)
        elif kind == "answers":
            test.answers.append(value)
        elif kind == "server":
            if value not in SERVERS:
                raise BadTest(f"line {number}: there is no server '{value}'")
            test.servers.append(value)
    if not common and not special:
        raise BadTest("it expects nothing")
    if windows:
        common["expect trace"] = [line for line in common.get("expect trace", [])
                                  if not WINDOWS_FUNCTION.match(line)]
        common.update(special)
    test.expectations = common
    try:
        test.wanted_exit
    except ValueError:
        raise BadTest(f"not an exit code: {test.expectations['expect exit'][-1]}") from None
    return test


def lines_of(data):
    lines = data.decode("utf-8", "surrogateescape").split("\n")
    if lines[-1] == "":
        lines.pop()
    return lines


def shortened(lines):
    if len(lines) <= SHOWN_LINES:
        return lines
    return lines[:SHOWN_LINES] + [f"... and {len(lines) - SHOWN_LINES} more lines"]


def diff(title, wanted, got):
    """What differs between two lists of lines, as a report; empty when nothing does."""
    if wanted == got:
        return []
    body = list(difflib.unified_diff(wanted, got, "expected", "actual", lineterm="", n=3))
    return [f"{title} differs (- expected, + actual):"] + shortened(body[2:])


def check_trace(test, trace):
    problems = []
    position = 0
    for wanted in test.expectations.get("expect trace", []):
        try:
            position = trace.index(wanted, position) + 1
        except ValueError:
            problems.append(f"not in the trace (from its line {position + 1} on): {wanted}")
            near = difflib.get_close_matches(wanted, trace, 1, 0.6)
            if near:
                problems.append(f"the nearest there is: {near[0]} (line {trace.index(near[0]) + 1})")
            break
    for unwanted in test.expectations.get("expect no trace", []):
        for number, line in enumerate(trace, 1):
            if unwanted in line:
                problems.append(f"in the trace, line {number}: {line}")
                break
    if problems:
        problems += ["the trace:"] + shortened(trace)
    return problems


def check(test, exit_code, out, err, trace):
    expectations = test.expectations
    problems = []
    if exit_code != test.wanted_exit:
        problems.append(f"exit code {exit_code}, expected {test.wanted_exit}")
    problems += diff("standard output", expectations.get("expect", []), lines_of(out))
    contained = expectations.get("expect error contains", [])
    error_text = err.decode("utf-8", "surrogateescape")
    for text in contained:
        if text not in error_text:
            problems.append(f"standard error does not hold: {text}")
    if contained and problems:
        problems += ["standard error:"] + shortened(lines_of(err))
    if "expect error" in expectations or not contained:
        problems += diff("standard error", expectations.get("expect error", []), lines_of(err))
    if trace is not None:
        problems += check_trace(test, trace)
    return problems


class Runner:
    """Runs one test after another in folders of their own."""

    def __init__(self, program, base, machine=None):
        self.program = program
        self.base = Path(base)
        self.machine = machine  # Wine, or None for this system itself

    def environment(self, test, home, addresses):
        env = {name: value for name, value in os.environ.items()
               if name not in ("DISPLAY", "WAYLAND_DISPLAY") and not name.startswith("XDG_")}
        env.update(LC_ALL="C.UTF-8", TZ="UTC", HOME=str(home), TMPDIR=str(home / "tmp"))
        env.update(addresses)
        env.update(test.env)
        if self.machine:
            env.update(self.machine.environment())
        if test.wanted_exit == 128 + signal.SIGSEGV:
            env = sanitizers.environment_for_faults(env)
        return env

    def prepare(self, test):
        folder = Path(tempfile.mkdtemp(dir=self.base))
        work, home = folder / "work", folder / "home"
        (home / "tmp").mkdir(parents=True)
        files = test.path.with_suffix(".files")
        if files.is_dir():
            shutil.copytree(files, work, symlinks=True)
        else:
            work.mkdir()
        shutil.copyfile(test.path, work / test.path.name)
        return folder, work, home

    def run(self, test):
        """The problems of a test; none when it passed."""
        with contextlib.ExitStack() as servers:
            addresses = {}
            for name in test.servers:
                variable, make = SERVERS[name]
                addresses[variable] = servers.enter_context(contextlib.closing(make())).url
            return self.run_beside(test, addresses)

    def run_beside(self, test, addresses, attempts=wine.ATTEMPTS):
        """The problems of a test whose servers have these addresses, by variable."""
        folder, work, home = self.prepare(test)
        command = [str(self.program), "run"]
        wants_trace = "expect trace" in test.expectations or "expect no trace" in test.expectations
        if wants_trace:
            command += ["--trace", "../trace.txt"]
        if test.answers:
            text = "\n".join(test.answers) + "\n"
            (folder / "answers.kel").write_text(text, "utf-8", "surrogateescape")
            command += ["--answers", "../answers.kel"]
        command += test.options + [test.path.name] + test.args
        if self.machine:
            command = self.machine.command(command, whole_exit_code=test.wanted_exit > 255)
        stdin = "".join(line + "\n" for line in test.stdin).encode("utf-8", "surrogateescape")
        process = subprocess.Popen(command, cwd=work, env=self.environment(test, home, addresses),
                                   stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE, start_new_session=True)
        try:
            out, err = process.communicate(stdin, timeout=TIME_LIMIT_SECONDS)
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            out, err = process.communicate()
            return [f"not done after {TIME_LIMIT_SECONDS} s", "standard output so far:"] + \
                shortened(lines_of(out)) + ["standard error so far:"] + shortened(lines_of(err))
        exit_code = process.returncode
        if exit_code < 0:
            exit_code = 128 - exit_code  # ended by a signal: as a shell counts
        if self.machine:
            exit_code, err = self.machine.exit_code(exit_code, err)
            if attempts > 1 and wine.was_not_started(exit_code, out, err):
                shutil.rmtree(folder, ignore_errors=True)
                return self.run_beside(test, addresses, attempts - 1)
        trace = None
        if wants_trace:
            written = folder / "trace.txt"
            trace = lines_of(written.read_bytes()) if written.exists() else []
        problems = check(test, exit_code, without_folder(out, work), err, trace)
        shutil.rmtree(folder, ignore_errors=True)
        return problems


def without_folder(out, folder):
    """The output with `{folder}` for the test's own folder, whose name is another one each time."""
    own = str(folder)
    for path in ("Z:" + own.replace("/", "\\"), own):
        out = out.replace(os.fsencode(path), b"{folder}")
    return out


def matches(name, filters):
    return not filters or any(
        fnmatch.fnmatch(name, f) if re.search(r"[*?\[]", f) else f in name for f in filters)


def default_program(windows):
    return ROOT / ("build-windows/bin/tavhost.exe" if windows else "build/bin/tavhost")


def main():
    parser = argparse.ArgumentParser(description="Runs the script tests.")
    parser.add_argument("filters", nargs="*", metavar="FILTER",
                        help="part of a test's name, or a pattern with * and ?")
    parser.add_argument("--tavhost", type=Path, metavar="PROGRAM", help="the program to test")
    parser.add_argument("--wine", action="store_true", help="a Windows program, run by Wine")
    parser.add_argument("--scripts", type=Path, default=TESTS / "scripts", metavar="DIR",
                        help="where the tests are (default: tests/scripts)")
    parser.add_argument("--slowest", type=int, default=0, metavar="N",
                        help="also print the N slowest tests")
    options = parser.parse_args()

    program = (options.tavhost or default_program(options.wine)).resolve()
    if not program.exists():
        print(f"{program} is not there; build it first", file=sys.stderr)
        return 2
    tests, failures, skipped, windows_places, times = [], [], [], [], []
    for path in sorted(options.scripts.rglob("*.tav")):
        relative = path.relative_to(options.scripts)
        if any(part.endswith(".files") for part in relative.parts):
            continue  # data of a test
        name = relative.with_suffix("").as_posix()
        if not matches(name, options.filters):
            continue
        try:
            test = read_test(path, name, options.wine)
        except BadTest as error:
            failures.append((name, [str(error)]))
            continue
        windows_places += [f"{name}.tav:{line}: {text}" for line, text in test.windows_lines]
        (skipped if test.skipped is not None else tests).append(test)

    with tempfile.TemporaryDirectory(prefix="tavhost-", ignore_cleanup_errors=True) as base, \
            concurrent.futures.ThreadPoolExecutor(WORKERS) as pool, \
            (wine.Wine(program) if options.wine else wine.Nothing()) as machine:
        runner = Runner(program, base, machine)

        def timed(test):
            start = time.monotonic()
            problems = runner.run(test)
            times.append((time.monotonic() - start, test.name))
            return problems

        for test, problems in zip(tests, pool.map(timed, tests)):
            if problems:
                failures.append((test.name, problems))

    sys.stdout.reconfigure(errors="backslashreplace")
    for name, problems in sorted(failures):
        print(f"FAILED {name}")
        for line in problems:
            print(f"    {line}")
    for seconds, name in sorted(times, reverse=True)[:options.slowest]:
        print(f"{seconds:7.2f} s  {name}")
    if options.wine and windows_places:
        print(f"different on Windows, {len(windows_places)} places:")
        for place in windows_places:
            print(f"    {place}")
    passed = len(times) - sum(1 for name, _ in failures if any(name == t for _, t in times))
    if not times and not failures:
        print("no script test was run")
        failures.append(None)
    print(f"{passed} passed, {len(failures)} failed" +
          (f", {len(skipped)} skipped" if skipped else ""))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
