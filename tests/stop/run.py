#!/usr/bin/env python3
"""Stops every long operation in every way in which a stop can come, and holds each to a second.

usage: run.py [--tavhost PROGRAM] [--long] [--limit S] [--verbose] [FILTER...]

A row of the table is a script in rows/, a column one of WAYS. Without --long each row is stopped in
one way, the next row in the next way. A filter is a part of a cell's name, as row/way; with filters
all cells that hold any of them are run. README.md tells how to add a row.
"""

import argparse
import concurrent.futures
import contextlib
import os
import re
import signal
import subprocess
import sys
import tempfile
import threading
import time
from pathlib import Path

sys.dont_write_bytecode = True
HERE = Path(__file__).resolve().parent
ROOT = HERE.parents[1]
sys.path[:0] = [str(HERE.parent), str(HERE.parent / "service"), str(HERE.parent / "http")]
import children  # noqa: E402
import server  # noqa: E402
import service_test  # noqa: E402
import waiting  # noqa: E402

PATIENCE = 30  # seconds, for what ends only when it works
SIDE_BY_SIDE = 2
options = None


class Failure(Exception):
    """A cell does not hold."""


class TooLate(Failure):
    """It holds, but took longer than the limit."""


class Row:
    """A script, and what its first comment lines say about it."""

    def __init__(self, path):
        self.path, self.name = path, path.stem
        self.servers, self.skips, self.timeout, self.unread = [], set(), 1.0, []
        for line in path.read_text().splitlines():
            if not line.startswith("# "):
                break
            if match := re.fullmatch(r"# server: (http)", line):
                self.servers.append(match[1])
            elif match := re.fullmatch(r"# skip\[(\w+)\]: .+", line):
                self.skips.add(match[1])
            elif match := re.fullmatch(r"# timeout: ([\d.]+)", line):
                self.timeout = float(match[1])
            elif match := re.fullmatch(r"# unread: (output|error)", line):
                self.unread.append({"output": "stdout", "error": "stderr"}[match[1]])
            elif not line.startswith("# about: "):
                raise SystemExit(f"{path}: no such line: {line}")

    def ways(self):
        return [way for way in WAYS if way not in self.skips]


class Cell:
    """A row that is stopped in one way, in a folder of its own."""

    def __init__(self, row, folder, servers):
        self.row, self.folder = row, Path(folder)
        self.mark = self.folder / "mark"
        self.environment = {**os.environ, "LC_ALL": "C.UTF-8", "STOP_MARK": str(self.mark)}
        for name in ("DISPLAY", "WAYLAND_DISPLAY"):
            self.environment.pop(name, None)
        for name in ("HOME", "XDG_STATE_HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME",
                     "XDG_RUNTIME_DIR"):
            self.environment[name] = str(self.folder / name.lower())
        (self.folder / "xdg_runtime_dir").mkdir(mode=0o700)
        for name in row.servers:
            self.environment["TEST_SERVER"] = servers[name].url
        self.unread = contextlib.ExitStack()  # pipes that are open and never read
        self.script = self.folder / row.path.name
        self.script.write_bytes(row.path.read_bytes())

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.unread.close()

    def start(self, *command, **more):
        return subprocess.Popen(command, cwd=self.folder, env=self.environment, **{
            "stdin": subprocess.PIPE, "stdout": subprocess.DEVNULL, "stderr": subprocess.PIPE,
            "preexec_fn": children.end_with(os.getpid()), **more})

    def run(self, *more):
        """Standard input stays open, and nothing comes: its end would end a read as well."""
        streams = {name: self.unread.enter_context(children.unread_pipe())
                   for name in self.row.unread}
        return self.start(options.tavhost, "run", "--answers", "ask", *more, self.script.name,
                          **streams)

    def wait_until_at_work(self, process):
        def is_there():
            if process.poll() is not None:
                raise Failure(f"ended before it was stopped, exit code {process.returncode}")
            return self.mark.exists()
        waiting.until(is_there, "the script writes its mark")
        waiting.until_at_work(process)

    @staticmethod
    def wait_for_end(process, code):
        """Until the program has ended, with this code. What it said on standard error."""
        said = []
        reader = threading.Thread(
            target=lambda: said.append(process.stderr.read() if process.stderr else b""), daemon=True)
        reader.start()
        try:
            process.wait(PATIENCE)
        except subprocess.TimeoutExpired:
            raise Failure(f"still runs after {PATIENCE} s") from None
        reader.join(PATIENCE)
        text = b"".join(said).decode(errors="replace")
        if process.returncode != code:
            raise Failure(f"exit code {process.returncode}, not {code}: {text}")
        return text


def ended(process):
    process.kill()
    process.wait()
    for stream in (process.stdin, process.stderr):
        if stream:
            stream.close()


def by_signal(cell, number, code):
    process = cell.run()
    try:
        cell.wait_until_at_work(process)
        begin = time.monotonic()
        process.send_signal(number)
        cell.wait_for_end(process, code)
        return time.monotonic() - begin
    finally:
        ended(process)


def by_interrupt(cell):
    return by_signal(cell, signal.SIGINT, 130)


def by_termination(cell):
    return by_signal(cell, signal.SIGTERM, 143)


def by_timeout(cell):
    """The time that the start of the program takes counts as well. A machine that is busy may not
    come to the script's mark in the row's time; then it gets more."""
    for limit in (cell.row.timeout, 3 * cell.row.timeout, 9 * cell.row.timeout):
        seconds = timed_out(cell, limit)
        if cell.mark.exists():
            return seconds
    raise Failure("the time was over before the script was at work; see `# timeout:`")


def timed_out(cell, limit):
    begin = time.monotonic()
    process = cell.run("--timeout", str(limit))
    try:
        said = cell.wait_for_end(process, 124)
        seconds = time.monotonic() - begin - limit
        if not re.search(rf"^tavhost: stopped after .* at {re.escape(cell.script.name)}:\d+$", said,
                         re.MULTILINE):
            raise Failure(f"does not say where it was: {said}")
        return seconds
    finally:
        ended(process)


def workbench_program():
    return options.tavhost.parent / "tavhost_stop_row"


def by_the_workbench(cell):
    """A program of its own presses the keys in a window and measures: tests/qt/stop_row_posix.cpp."""
    cell.environment["QT_QPA_PLATFORM"] = "offscreen"
    process = cell.start(workbench_program(), cell.script,
                         stdout=subprocess.PIPE, stdin=subprocess.DEVNULL)
    try:
        out, err = process.communicate(timeout=2 * PATIENCE)
    except subprocess.TimeoutExpired:
        raise Failure(f"still runs after {2 * PATIENCE} s") from None
    finally:
        process.kill()
        process.wait()
    found = re.search(rb"^stopped after (\d+) ms$", out, re.MULTILINE)
    if process.returncode or not found:
        raise Failure((out + err).decode(errors="replace"))
    return int(found[1]) / 1000


def by_a_client_that_leaves(cell):
    """The service has stopped the script when it answers the next client."""
    service = service_test.Service("--quiet", environment=cell.environment, cwd=cell.folder,
                                   preexec_fn=children.end_with(os.getpid()))
    try:
        connection = service.sent(cell.script.read_text())
        cell.wait_until_at_work(service.process)
        begin = time.monotonic()
        connection.close()
        reply = service.post("/script", "print 6 * 7", timeout=PATIENCE)
        seconds = time.monotonic() - begin
        if reply != (200, {"variables": {"args": []}, **service_test.WELL, "output": "42\n"}):
            raise Failure(f"the next client is told {reply}")
        return seconds
    except TimeoutError:
        raise Failure(f"no reply to the next client within {PATIENCE} s") from None
    finally:
        service.process.terminate()
        try:
            service.process.wait(5)
        except subprocess.TimeoutExpired:
            service.process.kill()
        service.stop()


WAYS = {"interrupt": by_interrupt, "terminate": by_termination, "timeout": by_timeout,
        "workbench": by_the_workbench, "client": by_a_client_that_leaves}


def measure(row, way, servers):
    """The seconds that it took; raises Failure."""
    with tempfile.TemporaryDirectory() as folder:
        cell = Cell(row, folder, servers)
        try:
            with cell:
                seconds = WAYS[way](cell)
        except AssertionError as error:  # of a wait
            raise Failure(str(error)) from None
    if seconds >= options.limit:
        raise TooLate(f"took {seconds:.2f} s, not below {options.limit:g}")
    return seconds


class Results:
    def __init__(self):
        self.lock = threading.Lock()
        self.passed, self.failed, self.late = [], 0, []

    def take(self, cell, outcome):
        with self.lock:
            name = "/".join((cell[0].name, cell[1]))
            if isinstance(outcome, TooLate) and cell not in self.late:
                self.late.append(cell)  # it is measured again, alone
            elif isinstance(outcome, Failure):
                self.failed += 1
                print(f"{name}: {outcome}", flush=True)
            else:
                self.passed.append(outcome)
                if options.verbose:
                    print(f"{name:44} {outcome * 1000:5.0f} ms", flush=True)


def chosen(rows):
    if options.filters:
        return [(row, way) for row in rows for way in row.ways()
                if any(part in f"{row.name}/{way}" for part in options.filters)]
    if options.long:
        return [(row, way) for row in rows for way in row.ways()]
    return [(row, row.ways()[index % len(row.ways())]) for index, row in enumerate(rows)]


def main():
    # What the shell ignores for a command in the background, the programs here would ignore too.
    signal.signal(signal.SIGINT, signal.default_int_handler)
    global options
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--tavhost", type=Path, default=ROOT / "build/bin/tavhost")
    parser.add_argument("--long", action="store_true", help="every row in every way")
    parser.add_argument("--limit", type=float, default=1.0, metavar="S",
                        help="seconds from the request to the end (default: 1)")
    parser.add_argument("--verbose", action="store_true", help="tell what each cell took")
    parser.add_argument("filters", nargs="*", metavar="FILTER")
    options = parser.parse_args()
    options.tavhost = options.tavhost.resolve()
    service_test.program[:] = [str(options.tavhost)]
    if not workbench_program().exists():
        print("different here: this build has no workbench, whose Stop is not pressed")
        del WAYS["workbench"]
    rows = [Row(path) for path in sorted((HERE / "rows").glob("*.tav"))]
    servers = {"http": server.Server()}
    results = Results()

    def one(cell):
        try:
            results.take(cell, measure(*cell, servers))
        except Failure as failure:
            results.take(cell, failure)

    # Two side by side make each other late now and then; only one alone tells whose fault it was.
    with concurrent.futures.ThreadPoolExecutor(SIDE_BY_SIDE) as pool:
        list(pool.map(one, chosen(rows)))
    for cell in results.late:
        one(cell)
    if options.verbose and results.passed:
        print(f"the slowest: {max(results.passed) * 1000:.0f} ms; alone: {len(results.late)}")
    print(f"{len(results.passed)} passed, {results.failed} failed")
    return 1 if results.failed or not results.passed else 0


if __name__ == "__main__":
    sys.exit(main())
