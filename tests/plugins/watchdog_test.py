#!/usr/bin/env python3
"""Plug-ins whose code heeds no stop: five seconds later the program ends, says which plug-in,
command and line it was, and leaves nothing behind that it should not.

usage: watchdog_test.py [--tavhost PROGRAM] [--plugins FOLDER] [--wine] [unittest arguments]
"""

import argparse
import concurrent.futures
import os
import pty
import re
import signal
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
ROOT = Path(__file__).resolve().parents[2]
sys.path[:0] = [str(ROOT / "tests"), str(ROOT / "tests/service")]
import service_test  # noqa: E402
import waiting  # noqa: E402
import wine  # noqa: E402

PATIENCE = 5  # seconds that the program waits
SLACK = 2  # that it may take beyond them, on a machine that has other things to do
SCRIPT = "print 1\nfunc f() {\n  TEST_FIRST\n}\nf()\nprint 2\n"  # TEST_FIRST does not return
BLOCKING = SCRIPT.replace("TEST_FIRST", "BLOCK_AND_SPIN")
IGNORING = SCRIPT.replace("TEST_FIRST", "IGNORE_AND_SPIN")
IGNORING_AND_BLOCKING = SCRIPT.replace("TEST_FIRST", "IGNORE_BLOCK_AND_SPIN")

options = None


def library(plugin):
    return (options.plugins / (plugin + (".dll" if options.wine else ".so"))).as_posix()


class Run:
    """A program with one of the plug-ins, in a folder of its own."""

    def __init__(self, plugin, *arguments, script=SCRIPT, stdout=subprocess.PIPE):
        self.folder = tempfile.TemporaryDirectory()
        path = Path(self.folder.name)
        (path / "a.tav").write_text(script)
        self.mark = path / "mark"
        self.begin = time.monotonic()
        self.process = subprocess.Popen(
            [*options.program, "--plugin", library(plugin), *arguments, "run", "a.tav"],
            cwd=path, env={**os.environ, "TEST_MARK": self.mark.as_posix()},
            stdin=subprocess.DEVNULL, stdout=stdout, stderr=subprocess.PIPE)

    def stop(self, number):
        waiting.until(self.mark.exists, "the plug-in is at work")
        self.begin = time.monotonic()
        self.process.send_signal(number)
        return self.end()

    def end(self):
        """What it printed, what it said, its exit code, and the seconds since the stop or, if it
        was to stop by itself, since its start."""
        try:
            out, err = self.process.communicate(timeout=30)
        finally:
            self.process.kill()
            self.process.wait()
            self.folder.cleanup()
        seconds = time.monotonic() - self.begin
        return (out or b"").decode(), err.decode(), self.process.returncode, seconds


def with_ignored_signals(script):
    """Those that the code ignores are taken again a moment later; one that comes before is lost."""
    run = Run("signals", script=script)
    waiting.until(run.mark.exists, "the plug-in is at work")

    def is_taken():
        status = Path(f"/proc/{run.process.pid}/status").read_text()
        ignored = int(re.search(r"SigIgn:\s*(\w+)", status)[1], 16)
        return not ignored >> (signal.SIGTERM - 1) & 1

    waiting.until(is_taken, "SIGTERM is taken again")
    return run.stop(signal.SIGTERM)


def with_a_hang_up(pair):
    """Nobody is left to read: the pipe's reader leaves, or the terminal, which is not the one that
    controls the program, is closed."""
    reader, writer = pair()
    run = Run("sleeps-forever", stdout=writer)
    os.close(writer)
    waiting.until(run.mark.exists, "the plug-in is at work")
    run.begin = time.monotonic()
    os.close(reader)
    return run.end()


def with_a_full_pipe():
    """Nobody reads what is printed: the line on standard error comes all the same."""
    reader, writer = os.pipe()
    os.set_blocking(writer, False)
    try:
        while True:
            os.write(writer, bytes(65536))
    except BlockingIOError:
        os.set_blocking(writer, True)
    try:
        return Run("sleeps-forever", stdout=writer).stop(signal.SIGTERM)
    finally:
        os.close(reader)
        os.close(writer)


def with_a_request(leaves=True, limit=1000):
    """As the others, and whether the token file is gone; of a request that is stopped because its
    client leaves, or after so many seconds."""
    with tempfile.TemporaryDirectory() as folder:
        mark = Path(folder) / "mark"
        service = service_test.Service(
            "--plugin", library("sleeps-forever"),
            environment={**os.environ, "TEST_MARK": str(mark), "XDG_RUNTIME_DIR": folder})
        token_file = service.token_path
        connection = service.sent(SCRIPT, extra=[f"X-Tavhost-Timeout: {limit}"])
        waiting.until(mark.exists, "the plug-in is at work")
        begin = time.monotonic()
        if leaves:
            connection.close()
        code = service.process.wait(timeout=30)
        seconds = time.monotonic() - begin
        connection.close()
        service.stop()
        return b"".join(service.errors).decode(), code, seconds, os.path.exists(token_file)


def with_a_second_signal_to_a_run():
    """What it printed is in a buffer; the pipe takes it without waiting."""
    run = Run("sleeps-forever")
    waiting.until(run.mark.exists, "the plug-in is at work")
    run.process.send_signal(signal.SIGINT)
    with unittest.TestCase().assertRaises(subprocess.TimeoutExpired):
        run.process.wait(0.3)  # that it stays can only be seen for a time
    return run.stop(signal.SIGTERM)


def with_a_second_signal():
    """The token file goes then, too."""
    with tempfile.TemporaryDirectory() as folder:
        mark = Path(folder) / "mark"
        service = service_test.Service(
            "--plugin", library("sleeps-forever"),
            environment={**os.environ, "TEST_MARK": str(mark), "XDG_RUNTIME_DIR": folder})
        token_file = service.token_path
        with service.sent(SCRIPT):
            waiting.until(mark.exists, "the plug-in is at work")
            service.process.send_signal(signal.SIGINT)
            with unittest.TestCase().assertRaises(subprocess.TimeoutExpired):
                service.process.wait(0.3)  # that it stays can only be seen for a time
            service.process.send_signal(signal.SIGTERM)
            code = service.process.wait(timeout=30)
        service.stop()
        return code, os.path.exists(token_file)


def while_it_is_loaded(number):
    """The exit code, and what is left beside the record that stood there before."""
    with tempfile.TemporaryDirectory() as folder:
        mark = Path(folder) / "mark"
        record = Path(folder) / "r.kel"
        record.write_text("MESSAGE_BOX\n")
        process = subprocess.Popen(
            [*options.program, "--plugin", library("hangs-at-load"), "--record", "r.kel", "run",
             "-e", ""], cwd=folder, env={**os.environ, "TEST_MARK": str(mark)},
            stdin=subprocess.DEVNULL)
        try:
            waiting.until(mark.exists, "the plug-in is being loaded")
            process.send_signal(number)
            code = process.wait(timeout=2)
        finally:
            process.kill()
            process.wait()
        mark.unlink()
        left = [path.name for path in Path(folder).iterdir()]
        return code, left, record.read_text()


CASES = {
    "sleeps": lambda: Run("sleeps-forever").stop(signal.SIGINT),
    "computes": lambda: Run("spins", "--timeout", "1.5").end(),
    "catches the stop": lambda: Run("ignores-stops").stop(signal.SIGINT),
    "hangs behind the stop":
        lambda: Run("hangs-at-the-end", "--timeout", "0.5", script="while 1 { }").end(),
    "returns in time": lambda: Run("returns-late").stop(signal.SIGINT),
}
CASES_HERE = {
    "is terminated": lambda: Run("spins").stop(signal.SIGTERM),
    "hangs when it is unloaded":
        lambda: Run("hangs-at-unload", script="print 1").stop(signal.SIGTERM),
    "blocks signals": lambda: Run("signals", script=BLOCKING).stop(signal.SIGTERM),
    "blocks signals, time limit":
        lambda: Run("signals", "--timeout", "1.5", script=BLOCKING).end(),
    "ignores signals": lambda: with_ignored_signals(IGNORING),
    "ignores signals, time limit":
        lambda: Run("signals", "--timeout", "1.5", script=IGNORING).end(),
    "ignores and blocks signals": lambda: with_ignored_signals(IGNORING_AND_BLOCKING),
    "ignores and blocks signals, time limit":
        lambda: Run("signals", "--timeout", "1.5", script=IGNORING_AND_BLOCKING).end(),
    "pipe without a reader": lambda: with_a_hang_up(os.pipe),
    "terminal that hangs up": lambda: with_a_hang_up(pty.openpty),
    "full pipe": with_a_full_pipe,
    "client": with_a_request,
    "request's time limit": lambda: with_a_request(leaves=False, limit=1),
    "loading": lambda: while_it_is_loaded(signal.SIGINT),
    "second signal": with_a_second_signal,
    "second signal to a run": with_a_second_signal_to_a_run,
}


class WatchdogTest(unittest.TestCase):
    """The cases wait side by side; the tests look at what came of each."""

    @classmethod
    def setUpClass(cls):
        cases = {**CASES, **({} if options.wine else CASES_HERE)}
        with concurrent.futures.ThreadPoolExecutor(len(cases)) as pool:
            begun = {name: pool.submit(case) for name, case in cases.items()}
        cls.begun = begun

    def result(self, name):
        if name not in self.begun:
            self.skipTest("not under Wine")
        return self.begun[name].result()

    def check_line(self, err, plugin, what, log=""):
        path = library(plugin).rpartition("/")[2].replace(".", r"\.")
        self.assertRegex(err, rf'^{log}tavhost: plug-in "[^"\n]*{path}"{what} did not return within '
                              r"5 s of a stop; the program ends\r?\n$")

    def check_time(self, seconds, more=0):
        self.assertGreater(seconds, PATIENCE + more - 0.1)
        self.assertLess(seconds, PATIENCE + more + SLACK)

    def check(self, name, plugin, code, what=", command TEST_FIRST at a.tav:3", out="1\n", more=0):
        said = self.result(name)
        self.check_line(said[1], plugin, what)
        self.assertEqual((said[0], said[2]), (out, code))
        self.check_time(said[3], more)

    def test_one_that_sleeps(self):
        self.check("sleeps", "sleeps-forever", 130)

    def test_one_that_computes(self):
        self.check("computes", "spins", 124, more=1.5)
        self.check("is terminated", "spins", 143)

    def test_one_that_catches_the_stop(self):
        self.check("catches the stop", "ignores-stops", 130)

    def test_one_that_hangs_behind_the_stop(self):
        self.check("hangs behind the stop", "hangs-at-the-end", 124,
                   what=", command INTERNAL_TAVSCRIPT_FINISHED", out="", more=0.5)

    def test_one_that_hangs_when_it_is_unloaded(self):
        self.check("hangs when it is unloaded", "hangs-at-unload", 143, what="")

    def test_one_that_returns_in_time(self):
        out, err, code, seconds = self.result("returns in time")
        self.assertEqual((out, err, code), ("1\n", "", 130))
        self.assertLess(seconds, PATIENCE)

    def test_one_that_takes_no_signals(self):
        what = ", command BLOCK_AND_SPIN at a.tav:3"
        self.check("blocks signals", "signals", 143, what)
        self.check("blocks signals, time limit", "signals", 124, what, more=1.5)

    def test_one_that_ignores_signals(self):
        for what, command in [("ignores", "IGNORE_AND_SPIN"),
                              ("ignores and blocks", "IGNORE_BLOCK_AND_SPIN")]:
            place = f", command {command} at a.tav:3"
            self.check(f"{what} signals", "signals", 143, place)
            self.check(f"{what} signals, time limit", "signals", 124, place, more=1.5)

    def test_nobody_is_left_to_read(self):
        self.check("pipe without a reader", "sleeps-forever", 143, out="")
        self.check("terminal that hangs up", "sleeps-forever", 143, out="")

    def test_an_alarm_is_not_the_end_of_the_time(self):
        if options.wine:
            self.skipTest("not under Wine")
        script = "ALARM\nprint 1\n"
        self.assertEqual(Run("signals", "--timeout", "100", script=script).end()[:3],
                         ("1\n", "", 0))
        script = "ALARM_AGAIN_AND_AGAIN\nprint 1\nMARK\nwhile 1 { }\n"
        self.assertEqual(Run("signals", "--timeout", "100", script=script).stop(signal.SIGINT)[:3],
                         ("1\n", "", 130))
        out, err, code, seconds = Run("signals", "--timeout", "1", script=script).end()
        self.assertEqual((out, code), ("1\n", 124), err)
        self.assertGreater(seconds, 1)
        # One that is sent.
        run = Run("signals", "--timeout", "100", script="MARK\nwhile 1 { }\n")
        waiting.until(run.mark.exists, "the script runs")
        run.process.send_signal(signal.SIGALRM)
        self.assertEqual(run.stop(signal.SIGINT)[:3], ("", "", 130))

    def test_signals_that_a_command_has_left(self):
        """They stop the script that goes on behind it."""
        if options.wine:
            self.skipTest("not under Wine")
        for command in ("BLOCK", "try { BLOCK_AND_THROW } catch e { }", "IGNORE"):
            script = f"{command}\nMARK\nwhile 1 {{ }}\n"
            with self.subTest(script):
                out, err, code, seconds = Run("signals", script=script).stop(signal.SIGTERM)
                self.assertEqual((out, err, code), ("", "", 143))
                self.assertLess(seconds, 1)
                out, err, code, seconds = Run("signals", "--timeout", "1", script=script).end()
                self.assertEqual((out, code), ("", 124), err)
                self.assertLess(seconds, 2)

    def test_a_full_pipe(self):
        self.check("full pipe", "sleeps-forever", 143, out="", more=0.3)

    def test_requests(self):
        left = r"\S+ POST /script - [\d.]+ ms the client left\r?\n"
        for name, wanted, more, log in [("client", 143, 0, left),
                                        ("request's time limit", 124, 1, "")]:
            err, code, seconds, has_token = self.result(name)
            self.check_line(err, "sleeps-forever", ", command TEST_FIRST at request:3", log)
            self.assertEqual((code, has_token), (wanted, False), name)
            self.check_time(seconds, more)

    def test_one_that_is_being_loaded(self):
        """Nothing has begun, so that nothing is waited for, and nothing is left."""
        self.assertEqual(self.result("loading"), (130, ["r.kel"], "MESSAGE_BOX\n"))

    def test_a_second_signal(self):
        self.assertEqual(self.result("second signal"), (143, False))
        out, err, code, seconds = self.result("second signal to a run")
        self.assertEqual((out, err, code), ("1\n", "", 143))
        self.assertLess(seconds, 1)


def main():
    global options
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--tavhost", type=Path)
    parser.add_argument("--plugins", type=Path)
    parser.add_argument("--wine", action="store_true")
    options, rest = parser.parse_known_args()
    build = ROOT / ("build-windows" if options.wine else "build")
    tavhost = options.tavhost or build / ("bin/tavhost.exe" if options.wine else "bin/tavhost")
    options.plugins = options.plugins or build / "tests/plugins"
    with wine.Wine(tavhost) if options.wine else wine.Nothing() as machine:
        options.program = machine.command([tavhost]) if machine else [str(tavhost)]
        if machine:
            os.environ.update(machine.environment())
        service_test.program[:] = options.program
        unittest.main(argv=[sys.argv[0], *rest])


if __name__ == "__main__":
    main()
