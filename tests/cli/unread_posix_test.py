"""Standard streams that nobody reads hold no program that is to end; nor does a terminal that goes."""

import fcntl
import os
import signal
import subprocess
import termios
import time

import children
import program
import waiting
from program import ProgramTest

LIMIT = 1.0  # seconds from the request to the end of the program
MISTAKES = "NO_SUCH_COMMAND\n" * 3000
MANY = "GET_DISPLAY_SIZE\n" * 10_000  # their replies fill every buffer


class UnreadTest(ProgramTest):
    def end(self, process, number, code):
        """Ends a program that waits for its reader, by a signal."""
        try:
            waiting.until_at_work(process)
            begin = time.monotonic()
            if number:
                process.send_signal(number)
            process.wait(timeout=program.TIME_LIMIT)
            seconds = time.monotonic() - begin
            self.assertEqual(process.returncode, code)
            return seconds
        finally:
            process.kill()
            process.communicate()

    def check(self, arguments, stream, stdin=b""):
        """Each signal ends it in time, by its code."""
        self.file("stdin", stdin)
        for number, code in ((signal.SIGINT, 130), (signal.SIGTERM, 143), (signal.SIGHUP, 143)):
            with self.subTest(arguments, stream=stream, signal=number):
                with children.unread_pipe() as pipe, open(self.folder / "stdin", "rb") as given:
                    process = self.start(*arguments, stdin=given, **{stream: pipe})
                    self.assertLess(self.end(process, number, code), LIMIT)

    def test_standard_output(self):
        self.file("bad.tav", MISTAKES)
        for arguments, stdin in ((["run", "-e", 'while 1 { print "line" }'], b""),
                                 (["run", "-e", 'print "line"\nSLEEP ms:100000'], b""),
                                 (["run", "-e", 'print "line"'], b""),
                                 (["send", "-"], MANY.encode()),
                                 (["repl"], b"while 1 { print 1 }\n"),
                                 (["repl"], b"print 1\n" * 20_000),
                                 (["check", "bad.tav"], b""),
                                 (["commands", "--json"], b""),
                                 (["--help"], b""),
                                 (["serve"], b"")):
            self.check(arguments, "stdout", stdin)

    def test_standard_error(self):
        for arguments, stdin in ((["run", "-e", 'while 1 { EXECUTE "throw 1" }'], b""),
                                 (["run", "-e", "throw 1"], b""),
                                 (["run", "--trace", "-", "-e", "while 1 { GET_CWD }"], b""),
                                 (["repl"], b"throw 1\n"),
                                 (["check", "none.tav"], b"")):
            self.check(arguments, "stderr", stdin)

    def test_the_time_limit(self):
        for stream in ("stdout", "stderr"):
            with self.subTest(stream), children.unread_pipe() as pipe:
                process = self.start("run", "--timeout", "0.5", "-e",
                                     'while 1 { EXECUTE "print 1; throw 1" }', **{stream: pipe})
                self.assertLess(self.end(process, None, 124), 0.5 + LIMIT)

    def test_the_time_limit_of_what_runs_nothing(self):
        for arguments in (["--help"], ["--version"], ["run", "--help"], ["commands", "--help"],
                          ["commands", "--json"], ["check", "none.tav"]):
            with self.subTest(arguments), children.unread_pipe() as pipe:
                process = self.start("--timeout", "0.5", *arguments, stdout=pipe, stderr=pipe)
                self.assertLess(self.end(process, None, 124), 0.5 + LIMIT)

    def test_what_a_reader_takes_in_time_is_not_lost(self):
        process = self.start("run", "-e", 'for i from 1 to 20000 { print "line", i }\n'
                             'while 1 { SLEEP ms:10 }')
        waiting.until_at_work(process)
        process.send_signal(signal.SIGTERM)
        out, _ = process.communicate(timeout=program.TIME_LIMIT)
        lines = out.decode().splitlines()
        self.assertEqual(process.returncode, 143)
        self.assertEqual(lines, [f"line {i}" for i in range(1, len(lines) + 1)])
        self.assertTrue(out.endswith(b"\n"))

    def test_a_slow_reader_gets_all(self):
        process = self.start("run", "-e", 'for i from 1 to 100000 { print "line", i }')
        parts = []
        while part := process.stdout.read(8192):
            parts.append(part)
        process.communicate()
        self.assertEqual(b"".join(parts).decode(),
                         "".join(f"line {i}\n" for i in range(1, 100_001)))
        self.assertEqual(process.returncode, 0)


class SignalTest(ProgramTest):
    """What runs no script ends at once, by the same exit codes."""

    def ended(self, process, begin, code):
        """What a program has written that was to end in time, by this code."""
        process.wait(timeout=program.TIME_LIMIT)
        self.assertLess(time.monotonic() - begin, LIMIT)
        written = process.communicate()
        self.assertEqual(process.returncode, code)
        return written

    def test_while_input_is_awaited(self):
        for arguments in (["run", "-"], ["send", "-"], ["check", "-"], ["lsp"], ["repl"]):
            for number, code in ((signal.SIGINT, 130), (signal.SIGTERM, 143), (signal.SIGHUP, 143)):
                with self.subTest(arguments, signal=number):
                    process = self.start(*arguments, stdin=subprocess.PIPE)
                    process.stdin.write(b"print 1")
                    process.stdin.flush()
                    waiting.until_at_work(process)
                    begin = time.monotonic()
                    process.send_signal(number)
                    self.assertEqual(self.ended(process, begin, code), (b"", b""))

    WAITING = (["run", "-"], ["run", "fifo"], ["run", "--answers", "fifo", "-e", "print 1"],
               ["run", "--trace", "fifo", "-e", "print 1"],
               ["run", "--record", "fifo", "-e", "print 1"],
               ["send", "-"], ["send", "--answers", "fifo", "GET_CWD"],
               ["repl"], ["repl", "--trace", "fifo"], ["serve", "--trace", "fifo"],
               ["check", "-"], ["check", "fifo"], ["check", "a.tav", "--answers", "fifo"],
               ["lsp"], ["trace", "diff", "fifo", "a.tav"], ["trace", "diff", "a.tav", "fifo"])

    def test_the_time_limit_while_something_is_awaited(self):
        """Before there is a script: its own text, or what goes with it, does not come."""
        self.file("a.tav", "print 1\n")
        os.mkfifo(self.folder / "fifo")
        for arguments in self.WAITING:
            for options in (["--timeout", "0.2", *arguments],
                            [arguments[0], "--timeout=0.2", *arguments[1:]]):
                with self.subTest(options):
                    begin = time.monotonic()
                    process = self.start(*options, stdin=subprocess.PIPE)
                    self.assertEqual(self.ended(process, begin + 0.2, 124),
                                     (b"", b"tavhost: stopped after 0.2 s (--timeout)\n"))

    def test_signals_while_something_is_awaited(self):
        self.file("a.tav", "print 1\n")
        os.mkfifo(self.folder / "fifo")
        for arguments in self.WAITING:
            for number, code in ((signal.SIGINT, 130), (signal.SIGTERM, 143)):
                with self.subTest(arguments, signal=number):
                    process = self.start(*arguments, stdin=subprocess.PIPE)
                    waiting.until_at_work(process)
                    begin = time.monotonic()
                    process.send_signal(number)
                    self.ended(process, begin, code)

    def test_the_time_limit_of_what_computes(self):
        self.file("long.tav", "x = 1\nprint x + 1\n" * 1_000_000)
        self.file("calls", "f(1)\n" * 8_000_000)
        for arguments, printed in ((["check", "long.tav"], b""),
                                   (["trace", "diff", "calls", "calls"], b"")):
            with self.subTest(arguments):
                begin = time.monotonic()
                process = self.start("--timeout", "0.2", *arguments)
                out, err = process.communicate(timeout=program.TIME_LIMIT)
                self.assertLess(time.monotonic() - begin, 0.2 + LIMIT)
                self.assertEqual((process.returncode, out, err), (
                    124, printed, b"tavhost: stopped after 0.2 s (--timeout)\n"))

    def test_what_was_printed_before_the_time_is_over(self):
        """It is written; but nobody is waited for."""
        os.mkfifo(self.folder / "fifo")
        self.file("bad.tav", "NO_SUCH_COMMAND\n")
        process = self.start("check", "--timeout", "0.2", "bad.tav", "fifo")
        out, _ = process.communicate(timeout=program.TIME_LIMIT)
        self.assertEqual(process.returncode, 124)
        self.assertIn(b"bad.tav:1:1: error: ", out)
        for stream in ("stdout", "stderr"):
            with self.subTest(stream), children.unread_pipe() as pipe:
                process = self.start("check", "--timeout", "0.2", "bad.tav", "fifo",
                                     **{stream: pipe})
                self.assertLess(self.end(process, None, 124), 0.2 + LIMIT)

    def end(self, process, number, code):
        return UnreadTest.end(self, process, number, code)

    def test_a_signal_that_the_caller_ignores(self):
        process = self.start("run", "-", stdin=subprocess.PIPE, preexec_fn=lambda: signal.signal(
            signal.SIGHUP, signal.SIG_IGN))
        waiting.until_at_work(process)
        process.send_signal(signal.SIGHUP)
        out, _ = process.communicate(b"print 1", timeout=program.TIME_LIMIT)
        self.assertEqual((process.returncode, out), (0, b"1\n"))

    def test_a_terminal_that_goes_while_a_script_is_typed(self):
        """What was typed until then is not run."""
        for arguments, leads in ((["run", "-"], True), (["run", "-"], False), (["send", "-"], True),
                                 (["send", "-"], False), (["check", "-"], True)):
            with self.subTest(arguments, leads=leads):
                terminal, other = os.openpty()

                def lead():
                    os.setsid()
                    if leads:
                        fcntl.ioctl(0, termios.TIOCSCTTY, 0)

                process = self.start(*arguments, stdin=other, preexec_fn=lead)
                os.close(other)
                os.write(terminal, b'FWRITE file:"done" text:"x"\n')
                waiting.until_at_work(process)
                begin = time.monotonic()
                os.close(terminal)
                self.ended(process, begin, 143)
                self.assertFalse((self.folder / "done").exists())

    def test_a_reader_that_goes_while_a_script_is_typed(self):
        process = self.start("run", "-", stdin=subprocess.PIPE)
        process.stdin.write(b'FWRITE file:"done" text:"x"\n')
        process.stdin.flush()
        waiting.until_at_work(process)
        process.stdout.close()
        self.assertEqual(process.wait(timeout=program.TIME_LIMIT), 143)
        process.stdin.close()
        process.stderr.close()
        self.assertFalse((self.folder / "done").exists())
