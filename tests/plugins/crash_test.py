#!/usr/bin/env python3
"""A plug-in that crashes leaves one line on standard error, behind what was printed: which plug-in,
which command, where in the script, by what; the program then ends by that fault.

    tests/plugins/crash_test.py [--tavhost PROGRAM] [--wine]
"""

import argparse
import signal
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
sys.path.insert(0, str(Path(__file__).resolve().parents[1]))
import children  # noqa: E402
import sanitizers  # noqa: E402
import waiting  # noqa: E402
import wine  # noqa: E402

ROOT = Path(__file__).resolve().parents[2]

# Command -> the fault in the line, and the exit code.
FAULTS = {
    "WRITE_NOWHERE": ("signal 11 (SIGSEGV)", -signal.SIGSEGV),
    "ABORT": ("signal 6 (SIGABRT)", -signal.SIGABRT),
    "DIVIDE": ("signal 8 (SIGFPE)", -signal.SIGFPE),
    "OVERFLOW_STACK": ("signal 11 (SIGSEGV)", -signal.SIGSEGV),
}
WINDOWS_FAULTS = {
    "WRITE_NOWHERE": ("exception 0xC0000005 (access violation)", 0xC0000005),
    "ABORT": ("signal 22 (SIGABRT)", 3),
    "DIVIDE": ("exception 0xC0000094 (division by zero)", 0xC0000094),
}  # Wine ends the thread, not the program, whose stack comes to its end: OVERFLOW_STACK would wait

options = None
machine = None  # Wine


class CrashTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def run_program(self, *arguments, stdin=None):
        command = [str(options.tavhost), "--plugin", self.plugin_name(), *arguments]
        environment = sanitizers.environment_for_faults()
        if machine:
            command = machine.command(command, whole_exit_code=True)
            environment.update(machine.environment())
        result = wine.run(command, input=stdin or b"", timeout=120, cwd=self.folder,
                          env=environment)
        code, err = result.returncode, result.stderr
        if machine:
            code, err = machine.exit_code(code, err)
        return code, result.stdout.decode(), err.decode().replace("\r\n", "\n")

    def plugin_name(self):
        return ("Z:" if machine else "") + str(options.plugin)

    def line(self, where, cause):
        return f'tavhost: plug-in "{self.plugin_name()}"{where} crashed: {cause}\n'

    def faults(self):
        return (WINDOWS_FAULTS if machine else FAULTS).items()

    def test_in_a_script(self):
        for command, (cause, code) in self.faults():
            with self.subTest(command):
                (self.folder / "demo.tav").write_text(f'print "before"\n\n{command}\nprint "late"\n')
                self.assertEqual(self.run_program("run", "demo.tav"),
                                 (code, "before\n", self.line(f", command {command} at demo.tav:3", cause)))

    def test_in_a_function_of_another_file(self):
        (self.folder / "a.tav").write_text('include "b.tav"\nfor i from 1 to 3 { f(i) }\n')
        (self.folder / "b.tav").write_text('func f(n) {\n  print n\n  if n == 2 { ABORT }\n}\n')
        cause, code = dict(self.faults())["ABORT"]
        self.assertEqual(self.run_program("run", "a.tav"),
                         (code, "1\n2\n", self.line(", command ABORT at b.tav:3", cause)))

    def test_a_name_with_control_characters_breaks_no_line(self):
        if machine:
            self.skipTest("there are no such names")
        (self.folder / "a\n\x1b[1m.tav").write_text("ABORT\n")
        cause, code = FAULTS["ABORT"]
        self.assertEqual(self.run_program("run", "a\n\x1b[1m.tav"),
                         (code, "", self.line(r", command ABORT at a\n\x1b[1m.tav:1", cause)))

    def test_sent_as_a_message(self):
        cause, code = dict(self.faults())["WRITE_NOWHERE"]
        self.assertEqual(self.run_program("send", "WRITE_NOWHERE"),
                         (code, "", self.line(", command WRITE_NOWHERE", cause)))

    def test_streams_that_nobody_reads(self):
        """What was printed is held for a while, and the line; then the program ends all the same."""
        if machine:
            self.skipTest("there every write waits for its reader")
        with children.unread_pipe() as pipe:
            begin = time.monotonic()
            process = subprocess.Popen(
                [options.tavhost, "--plugin", self.plugin_name(), "run", "-e", "print 1\nABORT"],
                stdin=subprocess.DEVNULL, stdout=pipe, stderr=pipe,
                env=sanitizers.environment_for_faults())
            self.assertEqual(process.wait(timeout=30), -signal.SIGABRT)
            self.assertLess(time.monotonic() - begin, 9)  # 5 s, 1 s, and what a busy machine takes

    def test_at_a_prompt(self):
        cause, code = dict(self.faults())["WRITE_NOWHERE"]
        self.assertEqual(self.run_program("repl", stdin=b"print 1\nWRITE_NOWHERE\n"),
                         (code, "1\n", self.line(", command WRITE_NOWHERE at <prompt>:1", cause)))

    def test_what_is_thrown_is_an_error_of_the_command(self):
        for command, message in (("THROW", "internal error: no good"),
                                 ("THROW_NUMBER", "internal error: unknown exception")):
            text = f"try {{ {command} }} catch e {{ print e.message }}\nprint 2"
            self.assertEqual(self.run_program("run", "-e", text),
                             (0, f"{command}: {message}\n2\n", ""))

    def test_exit(self):
        """Whatever code it wants, in the middle of a command it is an error."""
        (self.folder / "demo.tav").write_text('print "before"\nEXIT\nprint "late"\n')
        for arguments, where, said in ((("run", "demo.tav"), " at demo.tav:2", "before\n"),
                                       (("send", "EXIT"), "", "")):
            self.assertEqual(self.run_program(*arguments), (
                1, said, f'tavhost: plug-in "{self.plugin_name()}", command EXIT{where} did not '
                         "return: exit was called; the program ends\n"))

    def test_quick_exit(self):
        if machine:
            self.skipTest("there it cannot be seen")
        plugin = options.plugin.with_name("signals.so")
        done = subprocess.run([options.tavhost, "--plugin", plugin, "run", "-e",
                               "print 1\nQUICK_EXIT\nprint 2"],
                              stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=60)
        self.assertEqual((done.returncode, done.stdout), (1, "1\n"), done)
        self.assertRegex(done.stderr, "command QUICK_EXIT at <command line>:2 did not return: exit "
                                      "was called; the program ends\n$")

    def test_signals_that_are_no_faults(self):
        """They end the program without a word, and its token goes with it."""
        if machine:
            self.skipTest("not under Wine")
        for number in (signal.SIGQUIT, signal.SIGUSR1, signal.SIGUSR2, signal.SIGXCPU,
                       signal.SIGABRT):
            token = self.folder / "token"
            with self.subTest(number), subprocess.Popen(
                    [options.tavhost, "serve", "--token-file", token], stdin=subprocess.DEVNULL,
                    stdout=subprocess.PIPE, stderr=subprocess.PIPE, cwd=self.folder,
                    env=sanitizers.environment_for_faults()) as process:
                try:
                    process.stdout.readline()  # the service has begun
                    self.assertTrue(token.exists())
                    process.send_signal(number)
                    self.assertEqual(process.wait(timeout=30), -number)
                finally:
                    process.kill()
                self.assertFalse(token.exists())

    def test_the_end_of_the_thread(self):
        if machine:
            self.skipTest("there it cannot be seen")
        plugin = options.plugin.with_name("signals.so")
        done = subprocess.run([options.tavhost, "--plugin", plugin, "run", "-e",
                               "try { END_THREAD } catch e { }\nprint 2"],
                              stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=60,
                              env=sanitizers.environment_for_faults())
        self.assertEqual((done.returncode, done.stdout, done.stderr), (
            -signal.SIGABRT, "", f'tavhost: plug-in "{plugin}", command END_THREAD at '
                                 "<command line>:1 crashed: signal 6 (SIGABRT)\n"))

    def test_a_command_before_does_not_count(self):
        """The line names what runs, not what ran."""
        cause, code = dict(self.faults())["ABORT"]
        text = "try { THROW } catch e { }\nABORT"
        self.assertEqual(self.run_program("run", "-e", text),
                         (code, "", self.line(", command ABORT at <command line>:2", cause)))

    def test_a_fault_of_the_host_names_no_plug_in(self):
        if machine:
            self.skipTest("a signal from outside")
        process = subprocess.Popen([options.tavhost, "--trace", "-", "run", "-e",
                                    "SLEEP ms:0\nwhile 1 { }"],
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                   env=sanitizers.environment_for_faults())
        while b"Reschedule" not in process.stderr.readline():
            pass  # until its command is over
        waiting.until_at_work(process)
        process.send_signal(signal.SIGSEGV)
        _, err = process.communicate(timeout=60)
        self.assertEqual(process.returncode, -signal.SIGSEGV)
        self.assertTrue(err.endswith(b"tavhost: crashed: signal 11 (SIGSEGV)\n"), err)


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--tavhost", type=Path)
    parser.add_argument("--wine", action="store_true")
    options, rest = parser.parse_known_args()
    build = ROOT / ("build-windows" if options.wine else "build")
    options.tavhost = (options.tavhost or
                       build / "bin" / ("tavhost.exe" if options.wine else "tavhost")).resolve()
    options.plugin = (options.tavhost.parents[1] / "tests/plugins" /
                      ("crashing.dll" if options.wine else "crashing.so"))
    with wine.Wine(options.tavhost) if options.wine else wine.Nothing() as machine:
        unittest.main(argv=[sys.argv[0], *rest])
