"""What the caller of the program leaves to it: little room, blocked signals."""

import os
import resource
import signal
import subprocess
import sys
import time
import unittest
from pathlib import Path

import program
import sanitizers
import waiting
import x_server
from program import ProgramTest

sys.path.append(str(Path(__file__).resolve().parents[1] / "service"))
import service_test  # noqa: E402

LIMIT = 1.0  # seconds from the request to the end of the program
ENDLESS = ["run", "-e", 'print "x"\nwhile 1 { }']


def no_file_may_grow():
    resource.setrlimit(resource.RLIMIT_FSIZE, (0, 0))


def little_files():
    resource.setrlimit(resource.RLIMIT_FSIZE, (4096, 4096))


def block_all():
    signal.pthread_sigmask(signal.SIG_BLOCK, signal.valid_signals())


class FileSizeTest(ProgramTest):
    """A limit for the size of files is met like a full disk."""

    def test_a_command(self):
        for text in ("x", "x" * 100_000):
            self.expect(["run", "-e", f'FWRITE file:"a" text:"{text}"\nprint ecode'], "2\n",
                        preexec_fn=no_file_may_grow)
        self.assertEqual(list(self.folder.iterdir()), [])

    def test_what_is_printed(self):
        with open(self.folder / "out", "wb") as file:
            result = self.run_program("run", "-e", "print 1", stdout=file,
                                      preexec_fn=no_file_may_grow)
        self.assertEqual((result.code, result.err), (
            1, "tavhost: cannot write standard output: File too large\n"))

    def test_the_service_goes_on(self):
        service_test.program[:] = [self.program]
        service = service_test.Service(environment=self.environment, cwd=self.folder,
                                       preexec_fn=little_files)
        try:
            _, reply = service.post("/script", 'FWRITE file:"a" text:"' + "x" * 5000 + '"')
            self.assertEqual(reply["variables"]["ecode"], 2)
            self.assertEqual(service.post("/script", "print 1")[1]["output"], "1\n")
        finally:
            service.stop()

    def test_a_limit_that_the_caller_ignores(self):
        self.expect(["run", "-e", 'FWRITE file:"a" text:"x"\nprint ecode'], "2\n", preexec_fn=lambda:
                    (signal.signal(signal.SIGXFSZ, signal.SIG_IGN), no_file_may_grow()))


class BlockedSignalsTest(ProgramTest):
    """Signals that the caller has blocked end a run all the same."""

    def test_signals(self):
        for number, code in ((signal.SIGINT, 130), (signal.SIGTERM, 143), (signal.SIGHUP, 143)):
            for arguments in (ENDLESS, ["--trace", "t.txt", *ENDLESS], ["serve"], ["lsp"]):
                with self.subTest(arguments, signal=number):
                    process = self.start(*arguments, stdin=subprocess.PIPE, preexec_fn=block_all)
                    try:
                        if arguments[0] != "lsp":
                            waiting.until_at_work(process)
                        waiting.until_at_work(process)
                        begin = time.monotonic()
                        process.send_signal(number)
                        self.assertEqual(process.wait(timeout=program.TIME_LIMIT), code)
                        self.assertLess(time.monotonic() - begin, LIMIT)
                    finally:
                        process.kill()
                        process.communicate()

    def test_one_that_came_before(self):
        """It was sent while the program was being started."""
        def terminated_before():
            block_all()
            os.kill(os.getpid(), signal.SIGTERM)

        self.assertEqual(self.run_program(*ENDLESS, preexec_fn=terminated_before).code, 143)

    def test_the_time_limit(self):
        for arguments in (ENDLESS, ["lsp"], ["serve"], ["run", "-"]):
            with self.subTest(arguments):
                begin = time.monotonic()
                process = self.start("--timeout", "0.3", *arguments, stdin=subprocess.PIPE,
                                     preexec_fn=block_all)
                self.assertEqual(process.wait(timeout=program.TIME_LIMIT), 124)
                self.assertLess(time.monotonic() - begin, 0.3 + LIMIT)
                process.communicate()

    def test_a_crash(self):
        result = self.run_program("run", "-e", 'print 1\nCRASH', preexec_fn=block_all,
                                  env=sanitizers.environment_for_faults(self.environment))
        self.assertEqual((result.out, result.code), ("1\n", -signal.SIGSEGV))
        self.assertIn("command CRASH at <command line>:2 crashed: ", result.err)


@unittest.skipIf(program.sanitized, "a sanitizer takes more stack")
class StackTest(ProgramTest):
    DEEP = (("(1,", "1", ")"), ("(a:", "1", ")"), ("(1 and ", "1", ")"), ("- ", "1", ""))

    def test_a_small_one(self):
        """It is made larger: the deepest nesting fits."""
        for begin, middle, end in self.DEEP:
            name = self.file("a.tav", f"x = {begin * 990}{middle}{end * 990}\nprint 1\n")
            for arguments in (["run", name], ["check", name]):
                for kib in (128, 256, 1024):
                    with self.subTest(begin, kib=kib):
                        result = self.run_program(*arguments, preexec_fn=lambda: resource.setrlimit(
                            resource.RLIMIT_STACK, (kib << 10, resource.RLIM_INFINITY)))
                        self.assertEqual((result.err, result.code), ("", 0))

    def test_one_that_stays_small(self):
        for arguments in (["run", "-e", "print 1"], ["serve"], ["--version"]):
            self.expect(arguments, "", "tavhost: the stack is limited to 256 KiB (ulimit -s); 2048 KiB "
                        "are needed\n", 1, preexec_fn=lambda: resource.setrlimit(
                            resource.RLIMIT_STACK, (256 << 10, 256 << 10)))


class DescriptorsTest(ProgramTest):
    """Few descriptors are an error with its reason, never a crash."""

    def test_few(self):
        for count in range(4, 16):  # the system cannot start it with 3
            def limit():
                resource.setrlimit(resource.RLIMIT_NOFILE, (count, count))

            for arguments in (["run", "-e", "print 1"], ["--timeout", "0.5", "serve"]):
                with self.subTest(arguments, count=count):
                    result = self.run_program(*arguments, preexec_fn=limit)
                    if result.code in (0, 124):
                        continue
                    self.assertIn(result.code, (1, 4), result)
                    self.assertRegex(result.err, r"^((tavhost|script service): [^\n]*"
                                     r"(open files|cannot be written)[^\n]*\n)+$")

    def test_few_for_windows(self):
        x_server.skip_without_windows()
        environment = {**self.environment, "QT_QPA_PLATFORM": "offscreen"}
        script = 'INFOBOX "a"\nFILE_DIALOG -> r\nprint r.endbutton'
        ends = set()
        for count in (8, 9, 12, *range(16, 64, 3)):
            def limit():
                resource.setrlimit(resource.RLIMIT_NOFILE, (count, count))

            with self.subTest(count=count):
                result = self.run_program("run", "--ui", "qt", "--answers", "accept", "-e", script,
                                          env=environment, preexec_fn=limit)
                ends.add(result.code)
                if result.code == 0:
                    self.assertEqual(result.out, "ok\n", result)
                    continue
                self.assertIn(result.code, (1, 2, 4), result)
                self.assertRegex(result.err, r"^(tavhost: [^\n]*open files[^\n]*\n)+$")
        self.assertIn(0, ends, "never enough")
        self.assertGreater(len(ends), 1, "always enough")


class SettingsTest(ProgramTest):
    """What is no file where the user's settings lie stops nobody."""

    @classmethod
    def setUpClass(cls):
        x_server.skip_without_windows()
        server = x_server.XServer()
        cls.addClassCleanup(server.stop)
        cls.display = server.display

    def test_a_pipe(self):
        for name in ("tavhost/windows.ini", "tavhost.ini"):
            with self.subTest(name):
                folder = self.folder / "config" / name.replace("/", "-")
                (folder / "tavhost").mkdir(parents=True)
                os.mkfifo(folder / name)
                environment = {**self.environment, "QT_QPA_PLATFORM": "xcb",
                               "DISPLAY": self.display, "XDG_CONFIG_HOME": str(folder)}
                # The windows wait for a user until the time is over.
                result = self.run_program("--timeout", "1", "run", "--ui", "qt", "-e", "FILE_DIALOG",
                                          env=environment)
                self.assertEqual(result.code, 124, result)
                self.assertEqual(result.err.count("windows.ini is no file" if "/" in name
                                                  else "tavhost.ini is no file"), 1, result.err)
