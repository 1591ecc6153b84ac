"""File dialogs in those of the desktop: what its portal is asked, what becomes of its answers, and
what there is in its place where it cannot be asked. `portal.py` stands in for the portal."""

import os
import signal
import tempfile
import threading
import time
from pathlib import Path

import session_bus
import waiting
import x_server
from program import TIME_LIMIT, ProgramTest

PORTAL = Path(__file__).resolve().parent / "portal.py"
FILTERS = ('filter1:"Texts" type1:"*.txt;*.md" filter2:"Отчёты" type2:"*.отчёт" '
           'cur-filter filter:"Отчёты"')
ASKED_FILTERS = [["Texts", [[0, "*.[tT][xX][tT]"], [0, "*.[mM][dD]"]]],
                 ["Отчёты", [[0, "*.[оО][тТ][чЧ][ёЁ][тТ]"]]]]
# Keys typed in the first quarter of a second after a window has come up are not taken.
GUARD_SECONDS = 0.3
CANCELLED, CLOSED = 1, 2  # as the portal says it


class FilePortalTest(ProgramTest):
    @classmethod
    def setUpClass(cls):
        x_server.skip_without_windows()
        session_bus.skip_without("import gi", "gi.require_version('Gio', '2.0')")

    def setUp(self):
        super().setUp()
        self.desktop = x_server.Desktop()
        self.addCleanup(self.desktop.stop)
        runtime = tempfile.TemporaryDirectory()
        self.addCleanup(runtime.cleanup)
        self.environment.update(DISPLAY=self.desktop.display, QT_QPA_PLATFORM="xcb",
                                XDG_RUNTIME_DIR=runtime.name)
        self.environment.pop("XDG_CONFIG_HOME", None)
        self.environment.pop("TAVHOST_FILE_DIALOGS", None)
        self.environment.pop("DBUS_SESSION_BUS_ADDRESS", None)

    def bus(self):
        bus = session_bus.Bus(self.environment, services=False)
        self.addCleanup(bus.stop)
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = bus.address
        return bus

    def portal(self, version=4):
        if "DBUS_SESSION_BUS_ADDRESS" not in self.environment:
            self.bus()
        portal = session_bus.Helper(PORTAL, [str(version)],
                                    {**os.environ, **self.environment})
        self.addCleanup(portal.stop)
        self.assertEqual(portal.hear(), "ready")
        return portal

    def script(self, text, *options):
        self.file("script.tav", text + "\n")
        process = self.start("run", "--quiet", *options, "script.tav")
        self.addCleanup(process.communicate)
        self.addCleanup(process.kill)
        watchdog = threading.Timer(TIME_LIMIT, process.kill)
        watchdog.start()
        self.addCleanup(watchdog.cancel)
        return process

    def expect_end(self, process, output, code=0, errors=""):
        out, err = process.communicate(timeout=TIME_LIMIT)
        self.assertEqual((out.decode("utf-8", "surrogateescape"), err.decode(),
                          process.returncode), (output, errors, code))

    def url(self, name):
        return (self.folder / name).as_uri()

    def window(self, title):
        return waiting.until(lambda: next((window for window in self.desktop.stacked()
                                           if self.desktop.title(window) == title), None),
                             f"the window {title}")

    def press(self, title, key):
        window = self.window(title)

        def has_keyboard():  # which the manager may leave to its user to give
            self.desktop.xdotool("windowactivate", window)
            return self.desktop.active() == window

        waiting.until(has_keyboard, "it has the keyboard")
        time.sleep(GUARD_SECONDS)
        self.desktop.xdotool("key", key)
        waiting.until(lambda: window not in self.desktop.stacked(), f"{key} ends {title}")

    def expect_own(self, process, output="cancel\n", title="Open"):
        self.press(title, "Escape")
        self.expect_end(process, output)

    def test_what_is_asked_and_what_comes_of_it(self):
        portal = self.portal()
        for name in ("a.txt", "b.md", "folder/c.txt"):
            self.file(name, "")
        process = self.script(
            f'FILE_DIALOG open path:"folder" {FILTERS}\nprint endbutton, path\n'
            'FILE_DIALOG open multi-sel\nprint endbutton, path\n'
            'FILE_DIALOG saveas filename:"report" default-ext:"txt"\nprint endbutton, path\n'
            'DIRECTORY_DIALOG path:"folder"\nprint endbutton, path\n'
            'FILE_DIALOG open\nprint endbutton\nFILE_DIALOG saveas\nprint endbutton\n'
            'DIRECTORY_DIALOG path:"folder"\nprint endbutton, path\nGET_CWD\nprint cwd')
        folder = str(self.folder)
        opens = {"modal": True, "multiple": False, "directory": False}
        script = str(self.folder / "folder")
        expected = [
            ("OpenFile", "Open", {**opens, "current_folder": script + "\0",
                                  "filters": ASKED_FILTERS, "current_filter": ASKED_FILTERS[1]},
             [0, [self.url("folder/c.txt")]]),
            # Where the user chose last.
            ("OpenFile", "Open", {**opens, "multiple": True, "current_folder": script + "\0"},
             [0, [self.url("a.txt"), self.url("b.md")]]),
            ("SaveFile", "Save As", {"modal": True, "current_folder": folder + "\0",
                                     "current_name": "report.txt"}, [0, [self.url("other.x")]]),
            ("OpenFile", "Choose Directory", {**opens, "directory": True,
                                              "current_folder": script + "\0"},
             [0, [self.folder.as_uri()]]),
            ("OpenFile", "Open", {**opens, "current_folder": folder + "\0"}, [CANCELLED, []]),
            ("SaveFile", "Save As", {"modal": True, "current_folder": folder + "\0"},
             [CLOSED, []]),
            ("OpenFile", "Choose Directory", {**opens, "directory": True,
                                              "current_folder": script + "\0"}, [CANCELLED, []])]
        for method, title, options, answer in expected:
            self.assertEqual(portal.hear(), {"method": method, "parent": "", "title": title,
                                             "options": options})
            self.assertEqual(self.desktop.stacked(), [])
            portal.tell(answer)
        self.expect_end(process, f'ok {folder}/folder/c.txt\nok ("{folder}/a.txt", "{folder}/b.md")\n'
                                 f'ok {folder}/other.x\nok {folder}\ncancel\ncancel\n'
                                 f'cancel folder\n{folder}\n')

    def test_names_that_are_no_text(self):
        portal = self.portal()
        path = os.fsencode(self.folder) + b"/\xff %.txt"
        Path(os.fsdecode(path)).write_bytes(b"")
        process = self.script("FILE_DIALOG open\nprint path")
        portal.hear()
        portal.tell([0, [self.folder.as_uri() + "/%FF%20%25.txt"]])
        self.expect_end(process, os.fsdecode(path) + "\n")

    def test_what_it_lets_pass_is_asked_again(self):
        portal = self.portal()
        self.file("there.txt", "kept")
        process = self.script('FILE_DIALOG open\nprint path\n'
                              'FILE_DIALOG saveas default-ext:"txt"\nprint path')
        portal.hear()
        portal.tell([0, [self.url("absent")]])
        self.press("Open", "Return")
        self.assertEqual(portal.hear()["method"], "OpenFile")
        portal.tell([0, ["sftp://elsewhere/file"]])
        self.press("Open", "Return")
        self.assertEqual(portal.hear()["method"], "OpenFile")
        portal.tell([0, [self.url("there.txt")]])
        portal.hear()
        for key in ("Escape", "alt+y"):
            # It asked about another file, "there".
            portal.tell([0, [self.url("there")]])
            self.press("Save As", key)
            if key == "Escape":
                asked = portal.hear()
                self.assertEqual((asked["method"], asked["options"]["current_name"]),
                                 ("SaveFile", "there.txt"))
        self.expect_end(process, f"{self.folder}/there.txt\n" * 2)

    def test_a_stop_closes_it(self):
        portal = self.portal()
        process = self.script("FILE_DIALOG open\nprint 1")
        self.assertEqual(portal.hear()["method"], "OpenFile")
        process.send_signal(signal.SIGINT)
        self.expect_end(process, "", 130)

    def test_it_is_closed_with_its_dialog_while_the_program_goes_on(self):
        portal = self.portal()
        self.file("script.tav", "FILE_DIALOG open\n")
        process = self.start("workbench", "script.tav")
        self.addCleanup(process.communicate)
        self.addCleanup(process.kill)
        window = waiting.until(self.desktop.active, "the workbench opens")
        self.desktop.xdotool("key", "F5")
        self.assertEqual(portal.hear()["parent"], f"x11:{window:x}")
        process.send_signal(signal.SIGTERM)
        self.assertEqual(portal.hear(), {"method": "Close"})

    def test_the_workbench_opens_and_saves_in_it(self):
        portal = self.portal(version=3)  # which begins where it likes
        self.file("one.tav", "print 1\n")
        process = self.start("workbench")
        self.addCleanup(process.communicate)
        self.addCleanup(process.kill)
        waiting.until(self.desktop.active, "the workbench opens")
        self.desktop.xdotool("key", "ctrl+o")
        asked = portal.hear()
        self.assertEqual((asked["title"], asked["options"]["multiple"]), ("Open Scripts", True))
        portal.tell([0, [self.url("one.tav")]])
        waiting.until(lambda: "one.tav" in self.desktop.title(self.desktop.active() or 0),
                      "the script is open")
        self.desktop.xdotool("key", "ctrl+shift+s")
        asked = portal.hear()
        self.assertEqual((asked["method"], asked["options"]["current_name"]),
                         ("SaveFile", "one.tav"))
        portal.tell([0, [self.url("two")]])
        waiting.until(lambda: (self.folder / "two.tav").exists(), "it is saved")

    def test_our_own_comes_up_in_its_place_when_it_goes(self):
        for gone in ("portal", "bus"):
            with self.subTest(gone):
                self.environment.pop("DBUS_SESSION_BUS_ADDRESS", None)
                bus = self.bus()
                portal = self.portal()
                process = self.script("FILE_DIALOG open\nprint endbutton")
                self.assertEqual(portal.hear()["method"], "OpenFile")
                (portal if gone == "portal" else bus).process.kill()
                self.expect_own(process)

    def test_our_own_where_there_is_none(self):
        script = "FILE_DIALOG open\nprint endbutton"
        with self.subTest("no bus"):
            self.expect_own(self.script(script))
        with self.subTest("a bus that is not there"):
            self.environment["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=/nonexistent/bus"
            self.expect_own(self.script(script))
        with self.subTest("no portal"):
            self.bus()
            self.expect_own(self.script(script))
        with self.subTest("a portal without file dialogs"):
            portal = self.portal(0)
            self.expect_own(self.script(script))
            portal.process.kill()
            portal.process.wait()
        with self.subTest("a portal that does not answer"):
            portal = self.portal()
            self.addCleanup(portal.process.send_signal, signal.SIGCONT)
            portal.process.send_signal(signal.SIGSTOP)
            self.expect_own(self.script(script))

    def test_our_own_where_it_cannot_do_what_is_asked(self):
        self.portal(version=3)
        self.file("folder/a", "")
        for script in ('FILE_DIALOG open path:"folder"', 'FILE_DIALOG open filename:"script.tav"'):
            with self.subTest(script):
                self.expect_own(self.script(script + "\nprint endbutton"))
        with self.subTest("folders"):
            self.expect_own(self.script('DIRECTORY_DIALOG path:"folder"\nprint endbutton'),
                            title="Choose Directory")

    def test_our_own_where_the_user_or_the_run_wants_it(self):
        portal = self.portal()
        script = "FILE_DIALOG open\nprint endbutton"
        self.environment["TAVHOST_FILE_DIALOGS"] = "own"
        self.expect_own(self.script(script))
        # What Qt keeps of it is not left among the settings of all programs.
        self.assertFalse((self.folder / ".config/QtProject.conf").exists())
        self.assertTrue((self.folder / ".config/tavhost/QtProject.conf").exists())
        del self.environment["TAVHOST_FILE_DIALOGS"]
        self.expect_own(self.script(script, "--record", "record.txt"))
        self.expect_end(self.script(script, "--answers", "cancel"), "cancel\n")
        self.expect_end(self.script(script, "--ui", "qt", "--screenshots", "pictures",
                                    "--answers", "cancel"), "cancel\n")
        portal.process.stdin.close()
        self.assertIsNone(portal.hear(), "it was asked")
