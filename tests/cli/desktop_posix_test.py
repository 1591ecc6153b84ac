"""Windows on an X server with a window manager, by the keys and the mouse of a person: for each
kind of window, what Enter, Escape, a letter with Alt, the order of Tab, the mouse and the window
manager's closing do to a script."""

import base64
import itertools
import threading
import time

import waiting
import x_server
from program import TIME_LIMIT, ProgramTest

# Keys typed in the first quarter of a second after a window has come up are not taken.
GUARD_SECONDS = 0.3
DESKTOPS = 3  # at once; most of the time is waiting

# For each kind of window: what opens it and prints what came of it; for each opening, what the
# person does and what is printed then. `type:` types a text, `click:` and `twice:` click at a place
# in the window, from its right and bottom when negative.
ROWS = {
    "message box": (
        'QUERYBOX "Go on?" yes-no-cancel def-no\nprint endbutton', [
            ("Return", "no"), ("space", "no"), ("Escape", "cancel"), ("alt+y", "yes"),
            ("Tab space", "cancel"), ("shift+Tab space", "yes"), ("alt+F4", "cancel")]),
    "message box of one button": (
        'INFOBOX "The report is ready."\nprint "closed"', [
            ("Return", "closed"), ("Escape", "closed"), ("alt+o", "closed"), ("alt+F4", "closed"),
            ("click:-40,-24", "closed")]),
    "view box": (
        'VIEWBOX text:"one\\ntwo"\nprint "closed"', [
            ("Return", "closed"), ("Escape", "closed"), ("alt+o", "closed"),
            ("Tab space", "closed"), ("alt+F4", "closed"), ("click:-40,-24", "closed")]),
    "edit box": (
        'EDITBOX text:"t"\nprint endbutton, kel_text(text)', [
            ("type:ab Return type:c alt+o", 'ok "ab\\nct"'), ("type:x Escape", 'cancel "xt"'),
            ("alt+c", 'cancel "t"'), ("alt+F4", 'cancel "t"')]),
    "edit field": (
        'EDITFIELD caption:"Name:" text:"t" -> r\nprint kel_text(r)', [
            ("type:abc Return", '(ecode: 0, text: "abc")'), ("Escape", "(ecode: 1)"),
            ("End type:x alt+o", '(ecode: 0, text: "tx")'), ("alt+c", "(ecode: 1)"),
            ("Tab space", '(ecode: 0, text: "t")'), ("Tab Tab space", "(ecode: 1)"),
            ("alt+F4", "(ecode: 1)")]),
    "list box": (
        'LISTBOX entries:"a b c" extra:{ CHECKBOX "Keep" result-var:"kept" }\n'
            'print endbutton, selection, kept', [
            ("Down Return", "ok a 0"), ("Down Down Return", "ok b 0"), ("Return", "ok  0"),
            ("type:a Return", "ok a 0"), ("type:b Return", "ok b 0"),
            ("End Tab space Return", "ok c 1"), ("Down Tab Tab space", "ok a 0"),
            ("Tab Tab Tab space", "cancel  0"),
            ("Down Escape", "cancel a 0"), ("alt+c", "cancel  0"), ("alt+o", "ok  0"),
            ("alt+F4", "cancel  0"), ("twice:60,20", "ok a 0")]),
    "list box of several": (
        'MLISTBOX entries:"a b c"\nprint endbutton, selection', [
            ("space Return", "ok a"), ("Down space Return", "ok b"),
            ("space Down Down space Return", "ok a c"), ("ctrl+a alt+o", "ok a b c"),
            ("Tab space", "ok "),
            ("Escape", "cancel "), ("alt+F4", "cancel ")]),
    "tree list box": (
        'TLB_CREATE title:"T" searchable:1 multi-sel:1\nTLB_INSERT id:1 text:"one" is-parent:1\n'
        'TLB_INSERT id:2 parentid:1 text:"two"\nTLB_INSERT id:3 text:"three"\n'
        'TLB_ADD_BUTTON text:"More" name:"more" disable_if_no_selection:1\n'
        'TLB_SHOW -> r\nprint r.endbutton', [
            # OK is greyed while nothing is selected.
            ("Return Escape", "cancel"), ("type:th Down space Return", "ok"),
            ("Down space alt+m", "more"), ("Down space Return", "ok"), ("alt+c", "cancel"),
            ("alt+F4", "cancel")]),
    "browser": (
        'BROWSER content:"a;b\\n1;2\\n3;4"\nprint ecode', [
            ("Escape", "0"), ("alt+c", "0"), ("alt+F4", "0"), ("Return", "0")]),
    "edit browser": (
        'EDIT_BROWSER content:"a;b\\n1;2\\n3;4"\nprint kel_text(text)', [
            ("F2 type:9 Return alt+o", '"a;b\\n9;2\\n3;4"'),
            ("Right Down type:7 Return alt+o", '"a;b\\n1;2\\n3;7"'),
            ("F2 type:9 Escape Escape", '"a;b\\n1;2\\n3;4"'),
            ("alt+F4", '"a;b\\n1;2\\n3;4"'), ("Tab space alt+o", '"a;b\\n;\\n1;2\\n3;4"')]),
    "file dialog": (
        'FILE_DIALOG open\nprint endbutton, path', [
            ("type:script.tav Return", "ok {folder}/script.tav"), ("Escape", "cancel "),
            ("type:script.tav alt+o", "ok {folder}/script.tav"), ("alt+F4", "cancel "),
            ("alt+c", "cancel ")]),
    "save dialog": (
        'FILE_DIALOG saveas default-ext:"txt"\nprint endbutton, path', [
            ("type:new Return", "ok {folder}/new.txt"), ("Escape", "cancel "),
            ("type:new.tav alt+s", "ok {folder}/new.tav"), ("alt+F4", "cancel "),
            ("alt+c", "cancel ")]),
    "directory dialog": (
        'DIRECTORY_DIALOG path:"."\nprint endbutton, path', [
            ("Return", "ok {folder}"), ("type:area Return", "ok {folder}/area"),
            ("Escape", "cancel ."), ("alt+F4", "cancel ."), ("alt+c", "ok {folder}"),
            ("alt+a", "cancel .")]),
    "image dialog": (
        'IMAGE_PREVIEW_DLG extensions:"png" -> r\nprint kel_text(r)', [
            ("Right Return", r'(ecode: 0, files: "db:\\one.png")'),
            ("Right Right Return", r'(ecode: 0, files: "db:\\two.png")'),
            ("Return", r'(ecode: 0, files: "db:\\")'), ("Escape", '(ecode: 1, files: "")'),
            ("alt+c", '(ecode: 1, files: "")'), ("alt+F4", '(ecode: 1, files: "")')]),
}

# The smallest picture.
PICTURE = base64.b64decode("iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAQAAAC1HAwCAAAAC0lEQVR42mNk+A8A"
                           "AQUBAScY42YAAAAASUVORK5CYII=")


class DesktopTest(ProgramTest):
    @classmethod
    def setUpClass(cls):
        x_server.skip_without_windows()

    def desktop(self):
        desktop = x_server.Desktop()
        self.addCleanup(desktop.stop)
        return desktop

    def open(self, desktop, script, folder):
        (folder / "area/0").mkdir(parents=True)
        for name in ("one.png", "two.png"):
            (folder / "area/0" / name).write_bytes(PICTURE)
        (folder / "script.tav").write_text(script + "\n")
        environment = {**self.environment, "DISPLAY": desktop.display, "QT_QPA_PLATFORM": "xcb",
                       "XDG_RUNTIME_DIR": self.environment["HOME"]}
        return self.start("run", "--quiet", "--db", "area", "script.tav", cwd=folder,
                          env=environment)

    @staticmethod
    def act(desktop, window, steps):
        for step in steps.split():
            kind, _, what = step.partition(":")
            if kind == "type":
                desktop.xdotool("type", what)
            elif kind in ("click", "twice"):
                x, y = map(int, what.split(","))
                size = dict(line.split("=") for line in desktop.xdotool(
                    "getwindowgeometry", "--shell", window).splitlines())
                x += int(size["WIDTH"]) if x < 0 else 0
                y += int(size["HEIGHT"]) if y < 0 else 0
                desktop.xdotool("mousemove", "--window", window, x, y, "click", "--repeat",
                                1 if kind == "click" else 2, 1)
            else:
                desktop.xdotool("key", step)

    def new_window(self, desktop, process, before):
        def found():
            if process.poll() is not None:
                raise AssertionError(f"the script has ended: {process.communicate()}")
            window = desktop.active()
            return window if window != before else None

        window = waiting.until(found, "a window opens")
        time.sleep(GUARD_SECONDS)
        return window

    def run_row(self, desktop, name, row):
        command, openings = row
        script = "\n".join([command] * len(openings))
        folder = self.folder / name.replace(" ", "-")
        process = self.open(desktop, script, folder)
        try:
            window = None
            for steps, _ in openings:
                window = self.new_window(desktop, process, window)
                self.act(desktop, window, steps)
            process.wait(timeout=TIME_LIMIT)
        finally:
            process.kill()
            out, errors = process.communicate()
            # Another program's windows may have the same names.
            waiting.until(lambda: not desktop.stacked(), "the windows go")
        lines = out.decode().replace(str(folder), "{folder}").splitlines()
        return list(itertools.zip_longest([steps for steps, _ in openings], lines)), errors

    def test_rows(self):
        rows = iter(ROWS.items())
        found = {}
        lock = threading.Lock()

        # Each on a desktop of its own: one window has the keyboard.
        def run_some(desktop):
            while True:
                with lock:
                    name, row = next(rows, (None, None))
                if not name:
                    return
                try:
                    found[name] = self.run_row(desktop, name, row)
                except Exception as failure:
                    found[name] = failure

        threads = [threading.Thread(target=run_some, args=(self.desktop(),))
                   for _ in range(DESKTOPS)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        for name, (_, openings) in ROWS.items():
            with self.subTest(name):
                self.assertEqual(found[name], (openings, b""))

    def window_of(self, desktop, title):
        return waiting.until(lambda: next((window for window in desktop.stacked()
                                           if desktop.title(window) == title), None),
                             f"the window {title}")

    def test_percentage_windows_are_cancelled(self):
        desktop = self.desktop()
        script = ('PERCWIN_CREATE title:"Sorting" with-cancel-button\nfor i from 1 to 3000 {\n'
                  'SLEEP ms:10\nPERCWIN_IS_CANCELED\nif canceled { break }\n}\nprint canceled')
        for steps in ("Escape", "alt+c", "Tab space", "alt+F4", "click:-40,-24"):
            with self.subTest(steps):
                process = self.open(desktop, script, self.folder / steps)
                self.addCleanup(process.communicate)
                self.addCleanup(process.kill)
                window = self.window_of(desktop, "Sorting")
                waiting.until(lambda: desktop.active() == window, "it has the keyboard")
                self.act(desktop, window, steps)
                self.assertEqual(process.communicate(timeout=TIME_LIMIT), (b"1\n", b""))
                waiting.until(lambda: not desktop.stacked(), "the windows go")

    def test_message_windows_stay_above_and_come_back(self):
        desktop = self.desktop()
        script = ('CREATE_OUTPUT_WIN winid:"log" title:"Log"\nOUT winid:"log" text:"one\\n"\n'
                  'MSGWIN "Reading"\n'
                  'func wait(name) { for i from 1 to 3000 { FILE_EXISTS file:(name) -> r; '
                  'if r.exists { break }; SLEEP ms:10 } }\n'
                  'wait("first")\nMSGWIN "Sorting"\nwait("second")\nMSGWIN hide\nwait("third")\n'
                  'print "done"')
        process = self.open(desktop, script, self.folder / "message")
        self.addCleanup(process.communicate)
        self.addCleanup(process.kill)
        work = self.window_of(desktop, "tavhost")
        # It has no title; the manager calls it as it likes.
        message = waiting.until(lambda: next((window for window in desktop.stacked()
                                              if window != work), None), "the message window")
        self.act(desktop, work, "click:5,-5")
        waiting.until(lambda: desktop.active() == work, "the work window has the keyboard")
        self.assertEqual(desktop.stacked(), [work, message])
        self.act(desktop, message, "click:5,5 alt+F4")
        waiting.until(lambda: desktop.stacked() == [work], "the message window is closed")
        (self.folder / "message/first").touch()
        waiting.until(lambda: len(desktop.stacked()) == 2, "the next message is shown")
        self.assertEqual(desktop.stacked()[0], work)
        (self.folder / "message/second").touch()
        waiting.until(lambda: desktop.stacked() == [work], "the script hides it")
        self.act(desktop, work, "alt+F4")
        waiting.until(lambda: not desktop.stacked(), "the work window is closed")
        (self.folder / "message/third").touch()
        self.assertEqual(process.communicate(timeout=TIME_LIMIT), (b"done\n", b""))
