"""Standard streams, interrupts and time limits."""

import array
import contextlib
import fcntl
import http.client
import os
import re
import resource
import select
import signal
import socket
import subprocess
import termios
import time
import unittest

import sanitizers
import waiting
from program import ProgramTest

STOP_LIMIT = 1.0  # seconds within which a stop must take effect


class OutputTest(ProgramTest):
    def expect_order(self, arguments, *parts, **more):
        """Both streams into one place, with these parts of it in this order."""
        result = self.run_program(*arguments, stderr=subprocess.STDOUT, **more)
        places = [result.out.find(part) for part in parts]
        self.assertNotIn(-1, places, result)
        self.assertEqual(places, sorted(places), result)
        return result

    def test_order_of_the_two_streams(self):
        self.expect_order(["run", "-e", 'print 1\nEXECUTE "throw 2"\nprint 3\nthrow 4'],
                          "1\n", "error: 2", "3\n", "error: 4")

    def test_what_a_script_writes_to_a_stream_by_its_path(self):
        """It stands behind what was printed before, also where the stream is a file, in which
        nothing is written over."""
        text = ('print 1\nFWRITE file:"/dev/stderr" text:"2\\n"\nprint 3\n'
                'FWRITE file:"/dev/stdout" text:"4\\n"\nFWRITE open file:"/dev/stdout" append\n'
                'print 5\nFWRITE text:"6\\n"\nFWRITE close\nprint 7')
        whole = "1\n2\n3\n4\n5\n6\n7\n"
        self.assertEqual(self.run_program("run", "-e", text, stderr=subprocess.STDOUT).out, whole)
        path = self.folder / "out"
        path.write_text("before\n")
        with open(path, "a") as file:
            subprocess.run([self.program, "run", "-e", text], stdout=file, stderr=file, check=True,
                           cwd=self.folder, env=self.environment)
        self.assertEqual(path.read_text(), "before\n" + whole)
        with open(path, "r+") as file:  # no appending: the streams share one place in the file
            subprocess.run([self.program, "run", "-e", text], stdout=file, stderr=file, check=True,
                           cwd=self.folder, env=self.environment)
        self.assertEqual(path.read_text(), whole + ("before\n" + whole)[len(whole):])

    def test_order_before_a_dialog_in_the_terminal(self):
        text = 'print "before"\nINFOBOX "the box"\nprint "after"'
        self.expect_order(["run", "--answers", "ask", "-e", text], "before", "the box", "after",
                          stdin="\n")

    def test_order_before_a_missing_answer(self):
        self.file("none.kel", "")
        result = self.expect_order(
            ["run", "--answers", "none.kel", "-e", 'print "before"\nINFOBOX "hello"'], "before\n")
        self.assertEqual(result.out, "before\nnone.kel:1: error: no answer is left for the window; "
                                     "this line answers it:\nMESSAGE_BOX button:ok\n"
                                     "<command line>:2: note: the window is opened here\n")
        self.assertEqual(result.code, 3)
        self.expect_order(["run", "-e", 'print "before"\nINFOBOX "hello"'],
                          "before\n", "tavhost: error: there is no display")
        self.expect_order(["run", "--answers", "ask", "-e", 'print "before"\nINFOBOX "hello"'],
                          "before\n", "hello\n", "[ok]: \n", "tavhost: error: standard input ended")

    def test_order_before_what_is_wrong_with_answers_left_over(self):
        self.file("two.kel", "MESSAGE_BOX button:ok\nMESSAGE_BOX button:ok\n")
        self.expect_order(["run", "--answers", "two.kel", "-e", 'print "before"\nINFOBOX "hello"'],
                          "before\n", "two.kel:2: error")

    def test_order_of_replies(self):
        self.file("none.kel", "")
        self.expect_order(["send", "--answers", "none.kel", "GET_DISPLAY_SIZE", 'INFOBOX "hello"'],
                          " w:1920 h:1080\n", "none.kel:1: error: ")

    def test_order_at_a_prompt_in_a_pipe(self):
        self.file("none.kel", "")
        self.expect_order(["repl", "--answers", "none.kel"], "before\n", "none.kel:1: error: ",
                          stdin='print "before"\nINFOBOX "hello"\n')
        self.expect_order(["repl"], "1\n", "<prompt>:1:1: error: 2", "3\n",
                          stdin="print 1\nthrow 2\nprint 3\n")

    def test_order_around_the_script_service(self):
        self.expect_order(["run", "-e", 'print "before"\nSERVICE start port:99999\nprint "after"'],
                          "before\n", "script service: port 99999: ", "after\n")

    def test_order_before_an_internal_error(self):
        self.expect_order(["run", "-e", 'print "before"\nGET_MP_COMMANDS "TavHost"\nprint "after"'],
                          "before\n", "internal error at ", "after\n")

    def test_order_before_the_end_of_the_time(self):
        self.expect_order(["run", "--timeout", "0.3", "-e", 'print "before"\nwhile 1 { }'],
                          "before\n", "tavhost: stopped after 0.3 s (--timeout) at <command line>:2\n")

    def test_a_message_takes_the_status_line_away(self):
        self.file("none.kel", "")
        master, terminal = os.openpty()
        with os.fdopen(master, "rb", buffering=0) as screen:
            result = self.run_program("run", "--answers", "none.kel", "-e",
                                      'PERCWIN_CREATE title:"Sorting"\nPERCWIN_SET percentage:50\n'
                                      'SLEEP ms:300\nINFOBOX "hello"', stderr=terminal)
            os.close(terminal)
            shown = b""
            try:
                while part := screen.read(4096):
                    shown += part
            except OSError:
                pass  # nobody writes there any more
        self.assertEqual(result.code, 3, result)
        self.assertRegex(shown.decode(),
                         r"Sorting  \[#+\.+\]  50%  \d:\d\d\r +\rnone\.kel:1: error: ")

    def test_what_was_printed_before_a_crash_is_not_lost(self):
        result = self.run_program("run", "-e", 'print "before"\nCRASH',
                                  env=sanitizers.environment_for_faults(self.environment))
        self.assertEqual((result.out, result.code), ("before\n", -signal.SIGSEGV), result)

    def test_a_full_disk(self):
        for text in ("print 1", 'for i from 1 to 100000 { print "a long line of output" }'):
            with open("/dev/full", "wb") as full:
                result = self.run_program("run", "-e", text, stdout=full)
            self.assertEqual(result.code, 1, result)
            self.assertEqual(result.err,
                             "tavhost: cannot write standard output: No space left on device\n")

    def test_a_full_disk_is_named_behind_a_message(self):
        """What was printed is written out, and lost, before the message."""
        self.file("none.kel", "")
        last = "tavhost: cannot write standard output: No space left on device\n"
        for text in ("print 1\nthrow 2", 'print 1\nINFOBOX "hello"'):
            with open("/dev/full", "wb") as full:
                result = self.run_program("run", "--answers", "none.kel", "-e", text, stdout=full)
            self.assertTrue(result.err.endswith("\n" + last), result)
            self.assertIn("error: ", result.err)

    def test_nothing_is_done_behind_output_that_was_lost(self):
        """Whatever wrote out what was printed: the next command is not carried out."""
        told = "tavhost: cannot write standard output: {}\n"
        for name, text in (("a message", 'print 1\nEXECUTE "throw 1"\n'),
                           ("a message that is caught", 'print 1\ntry { EXECUTE "throw 1" } '
                            'catch e { }\n'),
                           ("a wait", "print 1\nSLEEP ms:10\n"),
                           ("standard error", 'print 1\nFWRITE file:"/dev/stderr" text:"x"\n'),
                           ("a file", 'print 1\nFWRITE file:"/dev/stdout" text:"x"\n'),
                           ("the file itself", 'FWRITE file:"/dev/stdout" text:"x"\n'),
                           ("a long text", 't = "x"; for i from 1 to 17 { t = t + t }; print t\n'),
                           ("the buffer", 'for i from 1 to 20000 { print "line" }\n')):
            for arguments, closed in ((["run"], False), (["run"], True), (["repl"], False)):
                with self.subTest(name, arguments=arguments, closed=closed):
                    self.file("kept", "x")
                    text_of_all = text + 'FDELETE file:"kept"\nexit 7\n'
                    if arguments[0] == "run":
                        arguments = [*arguments, "-e", text_of_all]
                    else:
                        text_of_all = text_of_all.replace("\nFDELETE", "; FDELETE")
                    with self.lost_output(closed) as (stream, error):
                        result = self.run_program(*arguments, stdin=text_of_all, stdout=stream,
                                                  preexec_fn=(lambda: os.close(1)) if closed else None)
                    self.assertTrue(result.err.endswith(told.format(error)), result)
                    self.assertEqual(result.code, 1, result)
                    self.assertTrue((self.folder / "kept").exists(), result)

    @staticmethod
    @contextlib.contextmanager
    def lost_output(closed):
        """A standard output that takes nothing, and how the system names that."""
        if closed:
            yield None, "Bad file descriptor"
        else:
            with open("/dev/full", "wb") as full:
                yield full, "No space left on device"

    def test_the_scripts_own_code_does_not_hide_lost_output(self):
        for code in (0, 7, 255):
            for closed in (False, True):
                with self.subTest(code, closed=closed):
                    with self.lost_output(closed) as (stream, error):
                        result = self.run_program(
                            "run", "-e", f"print 1\nexit {code}", stdout=stream,
                            preexec_fn=(lambda: os.close(1)) if closed else None)
                    self.assertEqual((result.err, result.code),
                                     (f"tavhost: cannot write standard output: {error}\n", 1))

    def test_a_closed_pipe_ends_an_endless_script(self):
        process = self.start("run", "-e", 'while 1 { print "line" }')
        self.assertEqual(process.stdout.readline(), b"line\n")
        process.stdout.close()
        begin = time.monotonic()
        error = process.stderr.read().decode()
        process.stderr.close()
        self.assertEqual(process.wait(timeout=10), 1, error)
        self.assertEqual(error, "tavhost: cannot write standard output: Broken pipe\n")
        self.assertLess(time.monotonic() - begin, STOP_LIMIT)

    def test_closed_standard_output(self):
        process = subprocess.run(f"exec {self.program} run -e 'print 1' >&-", shell=True,
                                 stderr=subprocess.PIPE, cwd=self.folder)
        self.assertEqual(process.returncode, 1, process.stderr)
        self.assertIn(b"cannot write standard output", process.stderr)

    def test_help_to_a_full_disk(self):
        with open("/dev/full", "wb") as full:
            self.assertEqual(self.run_program("--help", stdout=full).code, 1)


class DescriptorTest(ProgramTest):
    CLOSED = ("<&-", ">&-", "2>&-", "<&- >&-", ">&- 2>&-", "<&- 2>&-", "<&- >&- 2>&-")

    def run_closed(self, arguments, closed, **more):
        return subprocess.run(["sh", "-c", f'exec "$@" {closed}', "sh", self.program, *arguments],
                              cwd=self.folder, env=self.environment, timeout=30,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, **more)

    def test_nothing_takes_the_place_of_a_closed_one(self):
        text = ('FWRITE file:"mine.txt" text:"mine"\nFWRITE file:"mine.txt" close\n'
                'print "printed"\nEXECUTE "throw 1"\nthrow 2')
        for closed in self.CLOSED:
            with self.subTest(closed):
                result = self.run_closed(["run", "--trace", "trace.txt", "--record", "r.kel",
                                          "-e", text], closed)
                self.assertEqual(result.returncode, 1)
                self.assertEqual((self.folder / "mine.txt").read_text(), "mine")
                self.assertEqual((self.folder / "r.kel").read_text(), "")
                trace = (self.folder / "trace.txt").read_text()
                self.assertNotIn("printed", trace)
                self.assertNotIn("error", trace)

    def test_they_are_filled_before_the_program_opens_anything(self):
        for closed in self.CLOSED:
            process = subprocess.Popen(
                ["sh", "-c", f'exec "$@" {closed}', "sh", self.program, "--trace", "t.txt", "run",
                 "-e", "SLEEP ms:100000"], cwd=self.folder, env=self.environment,
                stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            try:
                trace = self.folder / "t.txt"
                waiting.until(lambda: trace.exists() and "GetTickCount" in trace.read_text(),
                              "the script waits")
                self.assertEqual([os.readlink(f"/proc/{process.pid}/fd/{n}") for n in range(3)],
                                 ["/dev/null"] * 3)
                trace.unlink()
            finally:
                process.kill()
                process.wait()

    def test_a_prompt_without_input_ends(self):
        result = self.run_closed(["repl"], "<&-")
        self.assertEqual((result.returncode, result.stdout, result.stderr), (0, b"", b""))

    def test_a_script_from_there_is_empty(self):
        for arguments in (["run", "-"], ["send", "-"], ["check", "-"]):
            result = self.run_closed(arguments, "<&-")
            self.assertEqual((result.returncode, result.stdout, result.stderr), (0, b"", b""))

    def test_programs_that_it_starts_get_no_descriptor_of_its_own(self):
        process = self.start("serve", "--trace", "t.txt", "--record", "r.kel")
        try:
            self.assertIn(b"listening", process.stdout.readline())
            port = int(re.search(rb"file: .*-(\d+)", process.stdout.readline())[1])
            with socket.create_connection(("127.0.0.1", port)):
                waiting.until(lambda: len(self.kept(process)) >= 5, "the connection is accepted")
                open_to_children = [name for name, flags in self.kept(process).items()
                                    if not flags & os.O_CLOEXEC]
                self.assertEqual(open_to_children, [])
        finally:
            process.terminate()
            process.communicate(timeout=10)

    @staticmethod
    def kept(process):
        """What each descriptor above the standard ones is, and its flags."""
        found = {}
        for entry in os.scandir(f"/proc/{process.pid}/fd"):
            if int(entry.name) > 2:
                with open(f"/proc/{process.pid}/fdinfo/{entry.name}") as info:
                    flags = int(re.search(r"flags:\s+(\d+)", info.read())[1], 8)
                found[f"{entry.name} {os.readlink(entry.path)}"] = flags
        return found


class NotWrittenTest(ProgramTest):
    """A trace, a record or pictures that do not fit on the disk."""

    FULL = "No space left on device"
    LIMITED = "File too large"  # of a file that may not grow: what a full disk does, anywhere

    @staticmethod
    def no_file_may_grow():
        resource.setrlimit(resource.RLIMIT_FSIZE, (0, 0))

    def test_a_trace(self):
        self.expect(["--trace", "/dev/full", "run", "-e", "BEEP freq:1 ms:1\nprint 1"], "1\n",
                    f"tavhost: the trace /dev/full cannot be written: {self.FULL}\n", 5)
        self.expect(["--trace", "/dev/full", "send", "GET_DISPLAY_SIZE"], " w:1920 h:1080\n",
                    f"tavhost: the trace /dev/full cannot be written: {self.FULL}\n", 5)
        result = self.run_program("--trace", "t.txt", "run", "-e", "BEEP freq:1 ms:1\nprint 1",
                                  preexec_fn=self.no_file_may_grow)
        self.assertEqual((result.out, result.err, result.code),
                         ("1\n", f"tavhost: the trace t.txt cannot be written: {self.LIMITED}\n", 5))

    def test_a_record(self):
        arguments = ["--answers", "accept", "--record", "/dev/full", "run", "-e", 'INFOBOX "x"']
        self.expect(arguments, "", f"tavhost: the record /dev/full cannot be written: {self.FULL}\n",
                    5)

    def test_the_record_before_is_kept(self):
        self.file("r.kel", "MESSAGE_BOX button:no\n")
        arguments = ["--answers", "accept", "--record", "r.kel", "run", "-e",
                     'DIR_CREATE path:"sub"\nSET_CWD path:"sub"\nINFOBOX "x"']
        result = self.run_program(*arguments, preexec_fn=self.no_file_may_grow)
        self.assertEqual((result.out, result.err, result.code),
                         ("", f"tavhost: the record r.kel cannot be written: {self.LIMITED}\n", 5))
        self.assertEqual((self.folder / "r.kel").read_text(), "MESSAGE_BOX button:no\n")
        self.assertEqual(sorted(path.name for path in self.folder.iterdir()
                                if path.name.startswith(".tavhost")), [])
        self.expect(arguments)
        self.assertEqual((self.folder / "r.kel").read_text(), "MESSAGE_BOX button:ok\n")

    def test_a_run_that_does_not_start_keeps_the_record(self):
        self.file("r.kel", "MESSAGE_BOX button:no\n")
        result = self.run_program("--plugin", "none.so", "--record", "r.kel", "run", "-e", "")
        self.assertEqual(result.code, 4)
        self.assertEqual((self.folder / "r.kel").read_text(), "MESSAGE_BOX button:no\n")
        self.assertEqual([path.name for path in self.folder.iterdir()], ["r.kel"])

    def test_an_error_of_the_script_comes_first(self):
        result = self.run_program("--trace", "/dev/full", "run", "-e", "BEEP freq:1 ms:1\nexit 7")
        self.assertEqual((result.out, result.code), ("", 7), result)
        self.assertIn("the trace /dev/full cannot be written", result.err)


class UnreadErrorTest(ProgramTest):
    """A service whose standard error nobody reads answers all the same."""

    def test_the_service_goes_on(self):
        reader, writer = os.pipe()
        fcntl.fcntl(writer, fcntl.F_SETPIPE_SZ, 4096)
        process = self.start("serve", stderr=writer)
        os.close(writer)
        try:
            process.stdout.readline()
            token = process.stdout.readline().decode().removeprefix("token file: ").strip()
            port = int(token.rpartition("-")[2])
            connection = http.client.HTTPConnection("127.0.0.1", port, timeout=30)
            for number in range(300):
                connection.request("POST", f"/script?{'x' * 150}", f'EXECUTE "throw {number}"',
                                   {"X-Tavhost-Token": open(token).read().strip()})
                self.assertIn(connection.getresponse().read()[:1], (b"{", b""))
            begin = time.monotonic()
            process.terminate()
            self.assertIn(process.wait(timeout=10), (130, 143))
            self.assertLess(time.monotonic() - begin, STOP_LIMIT)
        finally:
            process.kill()
            process.communicate()
            os.close(reader)


class IncludeTest(ProgramTest):
    def test_what_is_no_plain_file(self):
        os.mkfifo(self.folder / "fifo")
        for name, reason in (("fifo", "it is no plain file"), ("/dev/zero", "it is no plain file"),
                             ("/", "Is a directory")):
            with self.subTest(name):
                file = self.file("a.tav", f'include "{name}"\n')
                for arguments in (["run", file], ["check", file], ["repl"]):
                    result = self.run_program(
                        *arguments, stdin=f'include "{self.folder / name}"\n')
                    self.assertIn(f': {reason}\n', result.out + result.err, arguments)


class StopTest(ProgramTest):
    def test_a_run_cut_short_stores_no_half_file_of_the_area(self):
        write = 'FWRITE file:"db:/k" text:"old"\nFWRITE open file:"db:/k"\nFWRITE text:"half"\n'
        for end, code, text in (("while 1 { SLEEP ms:20 }", 124, b"old"), ("x = 1 / 0", 1, b"old"),
                                ("exit 7", 7, b"half"), ("", 0, b"half")):
            with self.subTest(end):
                result = self.run_program("--db", "db", "run", "--timeout", "0.5", "-e", write + end)
                self.assertEqual(result.code, code, result)
                self.assertEqual((self.folder / "db" / "0" / "k").read_bytes(), text)

    ENDLESS = {
        "a loop": "while 1 { }",
        "a loop of commands": "while 1 { GET_DISPLAY_SIZE }",
        "a wait": "SLEEP ms:100000",
        "a caught wait": "while 1 { try { SLEEP ms:100000 } catch e { print e.message } }",
        "recursion": "func f(n) { while 1 { n = n + 1.0 } }\nf(1)",
        "script text": 'EXECUTE "while 1 { }"',
        "a dialog": None,
    }

    def stopped(self, text, signal_number):
        arguments = ["run", "--answers", "ask", "--trace", "t.txt", "-e",
                     'print "ready"\nINFOBOX "x"' if text is None else
                     'print "ready"\nSLEEP ms:0\n' + text]
        process = self.start(*arguments, stdin=subprocess.PIPE)
        self.wait_for_trace("Reschedule" if text else "TavInfoBox")
        waiting.until_at_work(process)
        begin = time.monotonic()
        process.send_signal(signal_number)
        out, _ = process.communicate(timeout=10)
        return process.returncode, time.monotonic() - begin, out

    def wait_for_trace(self, text):
        trace = self.folder / "t.txt"
        waiting.until(lambda: trace.exists() and text in trace.read_text(errors="replace"),
                      f"{text} appears in the trace")

    @staticmethod
    def is_full(reader):
        """Whether the pipe is in its last page, behind which a line of a trace has no room."""
        held = array.array("i", [0])
        fcntl.ioctl(reader, termios.FIONREAD, held)
        return held[0] > fcntl.fcntl(reader, fcntl.F_GETPIPE_SZ) - 2 * select.PIPE_BUF

    def test_interrupts_stop_within_a_second_and_clean_up(self):
        for name, text in self.ENDLESS.items():
            for number in (signal.SIGINT, signal.SIGTERM):
                with self.subTest(what=name, signal=number):
                    code, seconds, out = self.stopped(text, number)
                    self.assertEqual(code, 130 if number == signal.SIGINT else 143)
                    self.assertLess(seconds, STOP_LIMIT)
                    self.assertEqual(out, b"ready\n")
                    trace = (self.folder / "t.txt").read_text(errors="replace")
                    self.assertIn("INTERNAL_TAVSCRIPT_FINISHED", trace)
                    (self.folder / "t.txt").unlink()

    def test_a_trace_that_nobody_reads_holds_no_run(self):
        for number, code in ((signal.SIGINT, 130), (signal.SIGTERM, 143), (None, 124)):
            with self.subTest(number):
                os.mkfifo(self.folder / "fifo")
                limit = [] if number else ["--timeout", "1"]
                process = self.start("run", *limit, "--trace", "fifo", "-e",
                                     'while 1 { GET_DISPLAY_SIZE }')
                reader = os.open(self.folder / "fifo", os.O_RDONLY)
                try:
                    os.read(reader, 10)
                    waiting.until(lambda: self.is_full(reader), "the program fills the pipe")
                    waiting.until_at_work(process)
                    begin = time.monotonic()
                    if number:
                        process.send_signal(number)
                    self.assertEqual(process.wait(timeout=10), code)
                    self.assertLess(time.monotonic() - begin, STOP_LIMIT + (0 if number else 1))
                finally:
                    os.close(reader)
                    process.kill()
                    process.communicate()
                    (self.folder / "fifo").unlink()

    def test_an_interrupt_that_the_caller_ignores(self):
        process = self.start("run", "-e", 'print "x"\nSLEEP ms:300', preexec_fn=lambda:
                             signal.signal(signal.SIGINT, signal.SIG_IGN))
        self.assertEqual(process.stdout.readline(), b"x\n")
        waiting.until_at_work(process)
        process.send_signal(signal.SIGINT)
        out, _ = process.communicate(timeout=10)
        self.assertEqual((process.returncode, out), (0, b""))

    def ended_by(self, end):
        """The exit code of a run that `end` ends, within the time and with its clean-up."""
        terminal, other = os.openpty()

        def lead():
            os.setsid()
            fcntl.ioctl(0, termios.TIOCSCTTY, 0)

        process = self.start("run", "--trace", "t.txt", "-e", "SLEEP ms:100000", stdin=other,
                             stderr=other, preexec_fn=lead)
        os.close(other)
        try:
            self.wait_for_trace("GetTickCount")
            waiting.until_at_work(process)
            begin = time.monotonic()
            end(process, terminal)
            code = process.wait(timeout=10)
            self.assertLess(time.monotonic() - begin, STOP_LIMIT)
            self.assertIn("INTERNAL_TAVSCRIPT_FINISHED", (self.folder / "t.txt").read_text())
            return code
        finally:
            process.kill()
            process.wait()
            process.stdout.close()
            (self.folder / "t.txt").unlink()
            with contextlib.suppress(OSError):
                os.close(terminal)

    def test_a_hang_up_ends_a_run_like_a_request_to_terminate(self):
        terminated = self.ended_by(lambda process, _: process.terminate())
        for name, end in (("signal", lambda process, _: process.send_signal(signal.SIGHUP)),
                          ("signals", lambda process, _: [process.send_signal(signal.SIGHUP)
                                                          for _ in range(5)]),
                          ("terminal", lambda _, terminal: os.close(terminal)),
                          ("pipe", lambda process, _: process.stdout.close())):
            with self.subTest(name):
                self.assertEqual(self.ended_by(end), terminated)

    def test_a_terminal_that_is_not_its_own(self):
        """No signal tells that such a terminal hangs up."""
        terminal, other = os.openpty()
        process = self.start("run", "--trace", "t.txt", "-e", "SLEEP ms:100000", stdin=other,
                             start_new_session=True)
        os.close(other)
        self.wait_for_trace("GetTickCount")
        waiting.until_at_work(process)
        os.close(terminal)
        process.communicate(timeout=10)
        self.assertIn(process.returncode, (130, 143))

    def test_a_terminal_that_goes_while_it_is_asked(self):
        for arguments, shown in ((["repl"], b"tav> "),
                                 (["run", "-e", 'print "here"; x = read_line()'], b"here"),
                                 (["run", "--answers", "ask", "-e", 'INFOBOX "here"'], b"here")):
            with self.subTest(arguments):
                terminal, other = os.openpty()
                process = self.start(*arguments, stdin=other, stdout=other, stderr=other,
                                     start_new_session=True)
                os.close(other)
                seen = b""
                while shown not in seen:
                    seen += os.read(terminal, 4096)
                os.close(terminal)
                self.assertEqual(process.wait(timeout=10), 143)

    def test_a_reader_of_the_output_that_goes_while_input_is_waited_for(self):
        mark = waiting.Mark(self.folder)
        for arguments in (["repl"], ["run", "-e", "EXECUTE (read_line()); x = read_line()"]):
            with self.subTest(arguments):
                process = self.start(*arguments, stdin=subprocess.PIPE)
                process.stdin.write(mark.command.encode())
                process.stdin.flush()
                mark.wait()
                mark.remove()
                process.stdout.close()
                self.assertEqual(process.wait(timeout=10), 143)
                process.stdin.close()
                process.stderr.close()

    def test_a_hang_up_that_the_caller_ignores(self):
        process = self.start("run", "--trace", "t.txt", "-e",
                             'SLEEP ms:300\nFWRITE file:"late" text:"x"\nFWRITE file:"late" close',
                             preexec_fn=lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN))
        self.wait_for_trace("GetTickCount")
        process.stdout.close()
        process.stderr.close()
        self.assertEqual(process.wait(timeout=10), 0)
        self.assertEqual((self.folder / "late").read_text(), "x")

    def test_time_limit(self):
        for text, line, inner in (
                ("while 1 { }", 1, ""), ("print 1 > 2\nSLEEP ms:100000", 2, ""),
                ("func f() {\n  while 1 { }\n}\nf()", 2, ""),
                ('x = 1\nEXECUTE "\n\nwhile 1 { }"', 2, "in Do_Execute:3 "),
                ('func f() {\n  EXECUTE "EXECUTE \\"\n\nSLEEP ms:100000\\""\n}\nf()', 2,
                 "in Do_Execute:3 ")):
            begin = time.monotonic()
            result = self.run_program("run", "--timeout", "0.3", "-e", text)
            self.assertEqual((result.err, result.code), (
                f"tavhost: stopped after 0.3 s (--timeout) {inner}at <command line>:{line}\n", 124))
            self.assertLess(time.monotonic() - begin, 0.3 + STOP_LIMIT)
            self.assertGreater(time.monotonic() - begin, 0.29)
        self.expect(["run", "--timeout", "20", "-e", "print 1"], "1\n")

    def test_send_stops_too(self):
        self.expect(["send", "--timeout", "0.2", "GET_DISPLAY_SIZE", "SLEEP ms:100000", "BEEP"],
                    " w:1920 h:1080\n", code=124,
                    err="tavhost: stopped after 0.2 s (--timeout) at command 2 (SLEEP)\n")
        lines = "GET_DISPLAY_SIZE\n\n  BEEP freq:1 ms:1\nSLEEP ms:100000\nBEEP"
        self.expect(["send", "--timeout", "0.2", "-"], " w:1920 h:1080\n\n", code=124, stdin=lines,
                    err="tavhost: stopped after 0.2 s (--timeout) at <stdin>:4 (SLEEP)\n")
        self.expect(["send", "--timeout", "0.2", "-"], code=124, stdin="SLEEP ms:100000",
                    err="tavhost: stopped after 0.2 s (--timeout) at <stdin>:1 (SLEEP)\n")
        self.expect(["send", "--timeout", "0.2", "BEEP freq:1 ms:1", lines],
                    "\n w:1920 h:1080\n\n", code=124,
                    err="tavhost: stopped after 0.2 s (--timeout) at command 2:4 (SLEEP)\n")


if __name__ == "__main__":
    unittest.main()
