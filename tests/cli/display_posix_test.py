"""Displays that cannot be reached: a run goes on without one and says so once; who asks for windows
is told before anything runs."""

import os
import resource
import signal
import unittest
from pathlib import Path

import waiting
import x_server
from program import TIME_LIMIT, ProgramTest

# Nobody serves displays of these names.
UNREACHABLE = ({"DISPLAY": ":4099"}, {"WAYLAND_DISPLAY": "none-0"},
               {"DISPLAY": ":4099", "WAYLAND_DISPLAY": "none-0"}, {"DISPLAY": "nonsense"})
SIZE = " w:1920 h:1080\n"


class UnreachableDisplayTest(ProgramTest):
    def setUp(self):
        super().setUp()
        folder = Path(self.program).resolve().parent.parent / "lib/tavhost/modules"
        if not (folder / "libtavhost_qt.so").exists():
            self.skipTest("there is no module for windows")
        for name in ("QT_QPA_PLATFORM", "XDG_SESSION_TYPE"):
            self.environment.pop(name, None)

    def displays(self):
        for display in UNREACHABLE:
            with self.subTest(**display):
                names = " or ".join(display.values())
                yield ({**self.environment, **display},
                       f"tavhost: there are no windows: the display {names} cannot be reached\n")

    def test_what_needs_none_says_nothing(self):
        for environment, _ in self.displays():
            self.expect(["run", "-e", "print 1"], "1\n", env=environment)

    def test_it_is_said_once(self):
        for environment, said in self.displays():
            self.expect(["run", "-e", "GET_DISPLAY_SIZE\nGET_DISPLAY_SIZE\nprint w, h"],
                        "1920 1080\n", said, env=environment)
            self.expect(["send", "GET_DISPLAY_SIZE", "GET_DISPLAY_SIZE"], SIZE * 2, said,
                        env=environment)
            self.expect(["repl"], "1920\n", said, stdin="GET_DISPLAY_SIZE\nprint w\n",
                        env=environment)

    def test_windows_are_answered_as_without_a_display(self):
        text = 'QUERYBOX "Go on?" yes-no\nprint endbutton'
        for environment, said in self.displays():
            self.expect(["--answers", "accept", "run", "-e", text], "yes\n", said, env=environment)
            result = self.run_program("run", "-e", text, env=environment)
            self.assertEqual((result.out, result.code), ("", 3))
            self.assertTrue(result.err.startswith(said + "tavhost: error: there is no display"),
                            result.err)

    def test_output_windows_are_printed_and_nobody_is_waited_for(self):
        text = 'CREATE_OUTPUT_WIN winid:"log" title:"Log"\nOUT winid:"log" text:"one\\n"'
        for environment, said in self.displays():
            self.expect(["run", "-e", text], "log: one\n", said, env=environment)

    def test_pictures_that_cannot_be_made_count_as_not_written(self):
        for environment, said in self.displays():
            self.expect(["--screenshots", "shots", "--answers", "accept", "run", "-e",
                         'INFOBOX "x"\nprint 1'], "1\n", said, 5, env=environment)

    def test_asked_for_windows_it_is_an_error(self):
        for environment, said in self.displays():
            for arguments in (["--ui", "qt", "run", "-e", "print 1"], ["--ui", "qt", "send", "BEEP"],
                              ["--ui", "qt", "serve"], ["workbench"], []):
                self.expect(arguments, "", said, 2, env=environment)

    def test_where_windows_are_only_drawn_none_is_needed(self):
        for environment, _ in self.displays():
            self.expect(["--ui", "qt", "--screen", "800x600", "send", "GET_DISPLAY_SIZE"],
                        " w:800 h:600\n", env={**environment, "QT_QPA_PLATFORM": "offscreen"})
        self.expect(["--ui", "qt", "send", "GET_DISPLAY_SIZE"], SIZE)

    def test_a_picture_that_does_not_fit_on_the_disk(self):
        arguments = ["--ui", "qt", "--screenshots", "shots", "--answers", "accept", "run", "-e",
                     'INFOBOX "x"\nprint 1']
        self.expect(arguments, "1\n")
        picture = self.folder / "shots/001-message-box.png"
        before = picture.read_bytes()

        def no_file_may_grow():
            resource.setrlimit(resource.RLIMIT_FSIZE, (0, 0))

        self.expect(arguments, "1\n", "tavhost: the picture shots/001-message-box.png cannot be "
                    "written: File too large\n", 5, preexec_fn=no_file_may_grow)
        self.assertEqual(picture.read_bytes(), before)
        self.assertEqual(list((self.folder / "shots").iterdir()), [picture])

    def test_a_folder_for_pictures_that_cannot_be(self):
        self.file("file", "")
        for folder, message in (("file", "file is no folder"), ("no/such", "there is no folder no")):
            self.expect(["--ui", "qt", "--screenshots", folder, "run", "-e", "print 1"], "",
                        f"tavhost: --screenshots: {message}\n", 2)


class LostDisplayTest(ProgramTest):
    """A display that goes while there are windows on it."""

    @classmethod
    def setUpClass(cls):
        x_server.skip_without_windows()

    def lost(self, *arguments):
        server = x_server.XServer()
        try:
            process = self.start(*arguments, env={**self.environment, "DISPLAY": server.display,
                                                  "QT_QPA_PLATFORM": "xcb"})
            self.addCleanup(process.communicate)
            self.addCleanup(process.kill)
            waiting.until((self.folder / "begun").exists, "the script has begun")
            waiting.until_at_work(process)
        finally:
            server.server.kill()
            server.stop()
        return (*process.communicate(timeout=TIME_LIMIT), process.returncode)

    def test_it_is_like_a_hang_up(self):
        begun = 'print "before"\nGET_DISPLAY_SIZE\nFWRITE file:"begun" text:"x"\n'
        for script in ('QUERYBOX "Go on?"', "while 1 { SLEEP ms:10 }",
                       'MSGWIN "Reading"\nwhile 1 { SLEEP ms:10 }'):
            with self.subTest(script):
                (self.folder / "begun").unlink(missing_ok=True)
                self.assertEqual(self.lost("--ui", "qt", "run", "-e", begun + script), (
                    b"before\n", b"tavhost: the display has gone\n", 143))


# Of the windows' platforms, one that there is not, and one whose screen there is not.
BROKEN = ("nonsense", "linuxfb:fb=/no/such")


class PlatformTest(ProgramTest):
    """A platform that is named (QT_QPA_PLATFORM) and cannot start would end the program."""

    def setUp(self):
        super().setUp()
        folder = Path(self.program).resolve().parent.parent / "lib/tavhost/modules"
        if not (folder / "libtavhost_qt.so").exists():
            self.skipTest("there is no module for windows")

    def platforms(self):
        for platform in BROKEN:
            with self.subTest(platform):
                yield ({**self.environment, "QT_QPA_PLATFORM": platform},
                       f'tavhost: there are no windows: the platform "{platform}", which '
                       "QT_QPA_PLATFORM names, cannot start\n")

    def test_the_run_goes_on_without_and_says_so_once(self):
        for environment, said in self.platforms():
            # Nobody connects to the display of this name.
            environment["DISPLAY"] = ":4099"
            self.expect(["run", "-e", "print 1"], "1\n", env=environment)
            self.expect(["run", "-e", "GET_DISPLAY_SIZE\nGET_DISPLAY_SIZE\nprint w, h"],
                        "1920 1080\n", said, env=environment)
            self.expect(["--answers", "accept", "send", 'INFOBOX "x"', "GET_DISPLAY_SIZE"],
                        '\n' + SIZE, said, env=environment)

    def test_asked_for_windows_it_is_an_error(self):
        for environment, said in self.platforms():
            for arguments in (["--ui", "qt", "run", "-e", "print 1"], ["--ui", "qt", "serve"],
                              ["workbench"]):
                self.expect(arguments, "", said, 2, env=environment)

    def test_one_that_can_start(self):
        for platform in ("minimal", "offscreen:"):
            self.expect(["--ui", "qt", "--screen", "800x600", "send", "GET_DISPLAY_SIZE"],
                        " w:800 h:600\n", env={**self.environment, "QT_QPA_PLATFORM": platform})


class WorkWindowTest(ProgramTest):
    """The script is over; the window in which its output is docked keeps the program."""

    SCRIPT = 'CREATE_OUTPUT_WIN winid:"log" title:"Log"\nprint "over"'

    def setUp(self):
        super().setUp()
        folder = Path(self.program).resolve().parent.parent / "lib/tavhost/modules"
        if not (folder / "libtavhost_qt.so").exists():
            self.skipTest("there is no module for windows")
        # A user is expected; the windows are only drawn.
        self.environment.update(DISPLAY=":4099", QT_QPA_PLATFORM="offscreen")

    def test_ended_by_a_signal(self):
        for signum, code in ((signal.SIGINT, 130), (signal.SIGTERM, 143), (signal.SIGHUP, 143)):
            with self.subTest(signum):
                terminal, other = os.openpty()  # where lines come out at once
                process = self.start("run", "-e", self.SCRIPT, stdout=other)
                self.addCleanup(process.kill)
                os.close(other)
                self.assertEqual(os.read(terminal, 100), b"over\r\n")
                waiting.until_at_work(process)
                process.send_signal(signum)
                errors = process.communicate(timeout=TIME_LIMIT)[1]
                os.close(terminal)
                self.assertEqual((errors, process.returncode), (b"", code))

    def test_ended_by_the_time_limit(self):
        self.expect(["--timeout", "1.5", "run", "-e", self.SCRIPT], "over\n",
                    "tavhost: stopped after 1.5 s (--timeout)\n", 124)


if __name__ == "__main__":
    unittest.main()
