"""tavhost repl: lines from a pipe, and a terminal."""

import os
import pty
import re
import resource
import select
import signal
import termios
import time
import unittest

import waiting
from program import ProgramTest

ESCAPES = re.compile(rb"\x1b\[[0-9;?]*[A-Za-z]|\x1b[=>]|\r|\x07")


class PipeTest(ProgramTest):
    def test_statements_run_as_they_come(self):
        self.expect(["repl"], "3\n4\n", stdin="x = 3\nprint x\nprint x + 1\n")
        self.expect(["repl"], "1\n", stdin="print 1")
        self.expect(["repl"], "", stdin="")

    def test_a_statement_of_several_lines(self):
        text = "func f(a) {\n  return a * 2\n\n}\nif 1 {\n print f(4)\n}\nprint (1 +\n 2)\n"
        self.expect(["repl"], "8\n3\n", stdin=text)

    def test_strings_over_several_lines(self):
        self.expect(["repl"], "a\nb\n", stdin='x = "a\nb"\nprint x\n')

    def test_errors_keep_the_session(self):
        result = self.run_program("repl", stdin="x = 1\nthrow \"no\"\nFOO\nprint )\nprint x\n")
        self.assertEqual((result.out, result.code), ("1\n", 0), result)
        self.assertEqual(len(re.findall(r"(?m)^<prompt>:1:\d+: error: ", result.err)), 3, result)

    def test_what_is_unfinished_at_the_end_is_an_error(self):
        result = self.run_program("repl", stdin="print 1\nif 1 {\n")
        self.assertEqual(result.out, "1\n")
        self.assertIn("<prompt>:", result.err)

    def test_exit_leaves(self):
        self.expect(["repl"], "1\n", code=7, stdin="print 1\nexit 7\nprint 2\n")
        self.expect(["repl"], "", code=0, stdin="exit\nprint 2\n")
        self.expect(["repl"], "", code=255, stdin="exit 512\nprint 2\n",
                    err="tavhost: exit 512: exit codes are 0 to 255; ended with 255\n")

    def test_values(self):
        self.expect(["repl"], '"a\\"b"\n("x", 2)\n6\n',
                    stdin='s = "a\\"b"\ns\nl = split("x", ",")\npush(l, 2)\nl\n= 2 * 3\n')

    def test_commands_set_variables(self):
        self.expect(["repl"], "1920\n", stdin="GET_DISPLAY_SIZE\nprint w\n")

    def test_help(self):
        result = self.run_program("repl", stdin="help\nhelp SLEEP\nhelp commands\nhelp SLEP\n?\n")
        self.assertEqual(result.out.count("TavScript run as they are typed"), 2, result)
        self.assertIn("SLEEP\n", result.out)
        self.assertIn("IS_DIR_EMPTY", result.out)
        self.assertEqual(result.err, 'no command "SLEP"; did you mean "SLEEP"?\n')

    def test_a_variable_named_help(self):
        self.expect(["repl"], "5\n", stdin="help = 5\nprint help\n")

    def test_the_end_is_sent_once(self):
        result = self.run_program("repl", "--trace", "-", stdin="print 1\nthrow 2\nprint 3\n")
        self.assertEqual(result.err.count('Handle("INTERNAL_TAVSCRIPT_FINISHED"'), 1, result)

    def test_time_limit(self):
        result = self.run_program("repl", "--timeout", "0.3", stdin="print 1\nwhile 1 { }\n")
        self.assertEqual((result.out, result.code), ("1\n", 124), result)
        self.assertEqual(result.err, "tavhost: stopped after 0.3 s (--timeout) at <prompt>:1\n")

    def test_dialogs_and_the_prompt_share_the_input(self):
        result = self.run_program("repl", "--answers", "ask",
                                  stdin='EDITFIELD caption:"name"\nAda\nprint text\n')
        self.assertIn("Ada\n", result.out, result)


class Terminal:
    """A program on a terminal of its own."""

    def __init__(self, test, *arguments, environment=None):
        self.pid, self.master = pty.fork()
        if self.pid == 0:
            os.chdir(test.folder)
            os.execve(test.program, [test.program, *arguments],
                      {**test.environment, "TERM": "xterm", **(environment or {})})
        self.seen = b""
        test.addCleanup(self.close)

    def close(self):
        if self.pid:
            os.kill(self.pid, signal.SIGKILL)
            os.waitpid(self.pid, 0)
        os.close(self.master)

    def type(self, text):
        os.write(self.master, text.encode())

    def wait_for_keys(self):
        """Until the prompt reads single keys: the line editor shows it a moment earlier, and until
        then the terminal keeps keys such as Ctrl-C and Ctrl-D for itself."""
        waiting.until(lambda: not termios.tcgetattr(self.master)[3] & termios.ICANON,
                      "the prompt reads single keys")

    def end_input(self):
        self.wait_for_keys()
        self.type("\x04")

    def wait_for(self, text, seconds=10):
        """What the program has shown up to and with the text; the next call goes on behind it."""
        end = time.monotonic() + seconds
        while text.encode() not in ESCAPES.sub(b"", self.seen):
            if not select.select([self.master], [], [], max(0, end - time.monotonic()))[0]:
                raise AssertionError(f"no {text!r} in {self.seen!r}")
            try:
                self.seen += os.read(self.master, 4096)
            except OSError:
                raise AssertionError(f"ended without {text!r}: {self.seen!r}") from None
        clean = ESCAPES.sub(b"", self.seen)
        before, _, behind = clean.partition(text.encode())
        self.seen = behind
        return before.decode(errors="replace")

    def exit_code(self, seconds=10):
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            # Reading what is not there could wait for ever.
            if select.select([self.master], [], [], 0.05)[0]:
                try:
                    os.read(self.master, 4096)
                except OSError:
                    pass
            pid, status = os.waitpid(self.pid, os.WNOHANG)
            if pid:
                self.pid = 0
                return os.waitstatus_to_exitcode(status)
        raise AssertionError("still running")


class TerminalTest(ProgramTest):
    def test_a_session(self):
        terminal = Terminal(self, "repl")
        terminal.wait_for("tav> ")
        terminal.type("GET_DISPLAY_SIZE\n")
        shown = terminal.wait_for("tav> ")
        self.assertIn("  h: 1080\n", shown)
        self.assertIn("  w: 1920\n", shown)
        terminal.type("if w > 1 {\n")
        terminal.wait_for("...> ")
        terminal.type("print \"wide\" }\n")
        self.assertIn("wide\n", terminal.wait_for("tav> "))
        terminal.end_input()
        self.assertEqual(terminal.exit_code(), 0)

    def test_history_is_kept_between_starts(self):
        for text, wanted in (("print 40 + 2\n", "42\n"), ("\x1b[A\n", "42\n")):
            terminal = Terminal(self, "repl")
            terminal.wait_for("tav> ")
            terminal.type(text)
            self.assertIn(wanted, terminal.wait_for("tav> "))
            terminal.end_input()
            self.assertEqual(terminal.exit_code(), 0)
        self.assertTrue((self.folder / ".local/state/tavhost/history").exists())

    def test_the_folder_of_the_history_is_made(self):
        """With all above it, and for nobody else."""
        state = self.folder / "not/there"
        self.environment["XDG_STATE_HOME"] = str(state)
        terminal = Terminal(self, "repl")
        terminal.wait_for("tav> ")
        terminal.type("print 40 + 2\n")
        terminal.wait_for("42")
        terminal.end_input()
        self.assertEqual(terminal.exit_code(), 0)
        self.assertIn("40", (state / "tavhost/history").read_text())
        for folder in (state.parent, state, state / "tavhost"):
            self.assertEqual(folder.stat().st_mode & 0o777, 0o700)

    def answers_at_the_prompt(self, *arguments):
        """What is shown before the first prompt; that lines run behind it, and the program ends."""
        terminal = Terminal(self, "repl", *arguments)
        before = terminal.wait_for("tav> ")
        terminal.type("print 40 + 2\n")
        shown = terminal.wait_for("tav> ")
        self.assertIn("42\n", shown)
        terminal.end_input()
        self.assertEqual(terminal.exit_code(), 0)
        return before, shown

    def test_a_history_that_is_no_file(self):
        history = self.folder / ".local/state/tavhost/history"
        history.parent.mkdir(parents=True)
        for make in (lambda: os.mkfifo(history), lambda: history.symlink_to("/dev/zero"),
                     lambda: history.symlink_to("/dev/full"), history.mkdir):
            make()
            before = history.lstat()
            said, shown = self.answers_at_the_prompt()
            self.assertIn(f"tavhost: the history {history} is neither read nor kept: it is no file",
                          said)
            self.assertNotIn("tavhost:", shown)
            self.assertEqual(history.lstat(), before)
            history.rmdir() if history.is_dir() else history.unlink()

    def test_of_a_long_history_the_end_is_read(self):
        history = self.folder / ".local/state/tavhost/history"
        history.parent.mkdir(parents=True)
        with open(history, "w", encoding="utf-8") as file:
            file.write("_HiStOrY_V2_\n")
            file.truncate(20 << 30)  # takes no room
            file.seek(0, os.SEEK_END)
            file.write("\nprint\\0401\nprint\\0407\n")
        said, _ = self.answers_at_the_prompt()
        self.assertNotIn("tavhost:", said)
        self.assertLess(history.stat().st_size, 4 << 20)
        self.assertIn("print\\0401\nprint\\0407\nprint\\04040\\040+\\0402\n",
                      history.read_text(encoding="utf-8"))

    def test_a_history_that_cannot_be_written(self):
        """What it held is not lost, and it is said once."""
        self.answers_at_the_prompt()
        history = self.folder / ".local/state/tavhost/history"
        before = history.read_text(encoding="utf-8")
        terminal = Terminal(self, "repl")
        terminal.wait_for("tav> ")
        resource.prlimit(terminal.pid, resource.RLIMIT_FSIZE, (0, 0))
        terminal.type("print 40 + 3\n")
        self.assertIn("tavhost: what is typed is not kept: ", terminal.wait_for("tav> "))
        terminal.type("print 40 + 4\n")
        self.assertNotIn("tavhost:", terminal.wait_for("tav> "))
        terminal.end_input()
        self.assertEqual(terminal.exit_code(), 0)
        self.assertEqual(history.read_text(encoding="utf-8"), before)

    def test_completion(self):
        terminal = Terminal(self, "repl")
        terminal.wait_for("tav> ")
        terminal.type("GET_DISP\t\n")
        self.assertIn("w: 1920", terminal.wait_for("tav> "))
        terminal.type("SET_PRINTER na\t\"Office\"\n")
        self.assertIn("ecode: 0", terminal.wait_for("tav> "))

    def test_letters_of_several_bytes(self):
        terminal = Terminal(self, "repl", environment={"LC_ALL": "C.UTF-8"})
        terminal.wait_for("tav> ")
        terminal.wait_for_keys()
        terminal.type('print len("a\u00e4\u20ac\U0001f600")\n')
        self.assertIn("4\n", terminal.wait_for("tav> "))

    def test_no_interrupt_is_missed(self):
        """One right behind a key meets the editor between two of its reads."""
        terminal = Terminal(self, "repl")
        terminal.wait_for("tav> ")
        terminal.wait_for_keys()
        for _ in range(200):
            terminal.type("p")
            terminal.wait_for("p")
            terminal.type("\x03")
            terminal.wait_for("tav> ")
            terminal.wait_for_keys()

    def test_interrupts(self):
        terminal = Terminal(self, "repl")
        terminal.wait_for("tav> ")
        for _ in range(3):
            terminal.type("print 20 + 3; while 1 { }\n")
            terminal.wait_for("23\n")
            terminal.type("\x03")
            terminal.wait_for("stopped")
            terminal.wait_for("tav> ")
        terminal.wait_for_keys()
        terminal.type("print 1 +")
        terminal.wait_for("print 1 +")
        terminal.type("\x03")
        terminal.wait_for("tav> ")
        terminal.type("print 2 + 3\n")
        self.assertIn("5\n", terminal.wait_for("tav> "))
        terminal.type("exit 9\n")
        self.assertEqual(terminal.exit_code(), 9)


if __name__ == "__main__":
    unittest.main()
