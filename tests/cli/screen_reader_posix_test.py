"""Every window of the host as a screen reader tells it: names, roles, values, states, the order of
Tab, and what is announced while a script works. `screen_reader.py` reads, over AT-SPI."""

import contextlib
import os
import re
import tempfile
import textwrap
import threading
from pathlib import Path

import session_bus
import x_server
from program import TIME_LIMIT, ProgramTest

READER = Path(__file__).resolve().parent / "screen_reader.py"

# The way of Tab through what stands above the name in a file dialog.
FILES_WAY = ("{folder}/area, Back, Parent Directory, Create New Folder, List View, Detail View, "
             "Sidebar, Files")

# For each window: the script, the window's title, what is told of it, the way of Tab from what has the
# focus at first, and the button that ends it. A line that is only "..." stands for any others.
ROWS = {
    "message box": (
        'ERRORBOX "The disk is full." title:"Report" retry-cancel\nprint endbutton', "Report", """
            dialog "Report"
              image "Error"
              label "The disk is full."
              push button "Retry" (focused, is-default)
              push button "Cancel"
        """, 'Cancel, Retry', "Cancel", "cancel\n"),
    "message box of three buttons": (
        'QUERYBOX "Save?" yes-no-cancel def-no\nprint endbutton', "Question", """
            dialog "Question"
              image "Question"
              label "Save?"
              push button "Yes"
              push button "No" (focused, is-default)
              push button "Cancel"
        """, 'Cancel, Yes, No', "Yes", "yes\n"),
    "view box": (
        r'VIEWBOX title:"Log" text:"one\ntwo"', "Log", r"""
            dialog "Log"
              text "Text" = 'one\ntwo' (focused, read-only, multi-line)
              push button "OK" (is-default)
        """, 'OK, Text', "OK", ""),
    "edit box": (
        r'EDITBOX title:"Notes" text:"one\ntwo" oktext:"Keep"' "\nprint endbutton", "Notes", r"""
            dialog "Notes"
              text "Text" = 'one\ntwo' (focused, editable, multi-line)
              push button "Keep" (is-default)
              push button "Cancel"
        """, 'Keep, Cancel, Text', "Keep", "ok\n"),
    "file editor": (
        r'EDITBOX title:"Notes" text:"one" fileeditor' "\nprint endbutton", "Notes", r"""
            dialog "Notes"
              text "Text" = 'one' (focused, editable, multi-line): Ctrl+Tab leaves the text
              label "Line 1, column 1"
              push button "OK" (is-default)
              push button "Cancel"
        """, '', "Cancel", "cancel\n"),
    "edit field": (
        'EDITFIELD title:"Part" caption:"Its name:" text:"Ring"\nprint text', "Part", """
            dialog "Part"
              label "Its name:"
              text "Its name:" = 'Ring' (focused, editable)
              push button "OK" (is-default)
              push button "Cancel"
        """, 'OK, Cancel, Its name:', "OK", "Ring\n"),
    "list box": (
        'LISTBOX title:"Pick" boxtext:"Which?" entries:"a b c" selection:"b" '
        'extra:{ CHECKBOX "All" checked:1 result-var:"all" }\nprint selection, all', "Pick", """
            dialog "Pick"
              label "Which?"
              list "Which?" (focused)
                list item "a"
                list item "b" (selected, focused)
                list item "c"
              check box "All" (checked)
              push button "OK" (is-default)
              push button "Cancel"
        """, 'All, OK, Cancel, Which?', "OK", "b 1\n"),
    "list box of several with a search": (
        'MLISTBOX title:"Pick" entries:"{}" selection:"e1 e3"\nprint selection'.format(
            " ".join(f"e{number}" for number in range(30))), "Pick", """
            dialog "Pick"
              text "Search" = '' (editable): Search
              list "Pick" (focused)
                list item "e0"
                list item "e1" (selected, focused)
                list item "e2"
                list item "e3" (selected)
                ...
              push button "OK" (is-default)
              push button "Cancel"
        """, 'OK, Cancel, Search, Pick', "OK", "e1 e3\n"),
    "file dialog": (
        'FILE_DIALOG open path:"area"\nprint endbutton', "Open", """
            dialog "Open"
              label "Look in:"
              ...
              tree "Files"
                table column header "Name"
                table column header "Size"
                ...
                table cell "logo.txt"
                ...
              text "File name:" = '' (focused, editable) by label "File name:"
              ...
              push button "Cancel"
              ...
        """, f"All Files, Cancel, {FILES_WAY}, File name:", "Cancel", "cancel\n"),
    "save dialog": (
        'FILE_DIALOG saveas path:"area" filename:"new.txt"\nprint endbutton', "Save As", """
            dialog "Save As"
              ...
              text "File name:" = 'new.txt' (focused, editable) by label "File name:"
              push button "Save" (is-default)
              push button "Cancel"
              label "Files of type:"
              combo box "All Files" by label "Files of type:"
        """, f"All Files, Save, Cancel, {FILES_WAY}, File name:", "Cancel", "cancel\n"),
    "directory dialog": (
        'DIRECTORY_DIALOG path:"area"\nprint endbutton', "Choose Directory", """
            dialog "Choose Directory"
              ...
              text "Directory:" = '' (focused, editable) by label "Directory:"
              push button "Choose" (is-default)
              push button "Cancel"
              ...
        """, f"Directories, Choose, Cancel, {FILES_WAY}, Directory:", "Cancel", "cancel\n"),
    "image dialog": (
        'IMAGE_PREVIEW_DLG title:"Logo"\nprint ecode', "Logo", """
            dialog "Logo"
              list "Images" (focused)
              label "Preview"
              label "There are no images."
              push button "OK" (is-default)
              push button "Cancel"
        """, 'OK, Cancel, Images', "Cancel", "1\n"),
    "tree list box": (
        'TLB_CREATE title:"Parts" boxtext:"Which parts?" multi-sel:1 checklistbox:1 columns:2 '
        'searchable:1\n'
        r'TLB_INSERT id:1 text:"Engine\tsteel" is-parent:1' '\n'
        r'TLB_INSERT id:2 parentid:1 text:"Ring\tiron"' '\n'
        'TLB_INSERT id:3 text:"Frame"\nTLB_SELECT id:2\nTLB_EXPAND id:1\n'
        'TLB_ADD_BUTTON text:"More" name:"more" index:1\nTLB_SHOW\nprint endbutton, selectedids',
        "Parts", """
            dialog "Parts"
              label "Which parts?"
              text "Search" = '' (editable): Search
              tree "Which parts?" (focused)
                table column header "Column 1"
                table column header "Column 2"
                table cell "Engine" (expanded)
                table cell "steel"
                table cell "Ring" (checked, focused)
                table cell "iron"
                ...
              push button "Help"
              push button "More"
              push button "OK" (is-default)
              push button "Cancel"
        """, 'Help, More, OK, Cancel, Search, Which parts?', "More", "more 2\n"),
    "browser": (
        r'BROWSER title:"Stock" header:"Parts" content:"Name;Mass\nBeam;2"' '\nprint ecode',
        "Stock", """
            dialog "Stock"
              label "Parts"
              table "Parts" (focused)
                table column header "Name"
                table column header "Mass"
                table row header "1"
                table cell "Beam" (focused)
                table cell "2"
              label "1 row"
              push button "Search"
              push button "Save…"
              push button "Print…"
              push button "Close" (is-default)
        """, 'Search, Save…, Print…, Close, Parts', "Close", "0\n"),
    "edit browser": (
        r'EDIT_BROWSER title:"Stock" content:"Name;Mass\nBeam;2"' '\nprint kel_text(text)',
        "Stock", r"""
            dialog "Stock"
              table "Table" (focused)
                table column header "Name"
                table column header "Mass"
                table row header "1"
                table cell "Beam" (selected, focused)
                table cell "2"
              label "1 row"
              push button "Insert row"
              push button "Delete row"
              push button "Sort"
              push button "OK" (is-default)
              push button "Cancel"
        """, 'Insert row, Delete row, Sort, OK, Cancel, Table', "OK", '"Name;Mass\\nBeam;2"\n'),
}


def until(file, commands):
    """The script repeats the commands until the file is there. What is told of changes begins some
    time after the window has come up, so that one change alone could be missed; and it is told
    slower than a script runs."""
    return (f'\nn = 0\nis_there = 0\nwhile not is_there {{ n = n + 1\n{commands}\nSLEEP ms:200\n'
            f'FILE_EXIST file:"{file}" -> r\nis_there = r.exist }}')


TOOLS = {
    "output window": (
        r'CREATE_OUTPUT_WIN winid:"o" title:"Log"' "\n" r'OUT winid:"o" text:"one\ntwo\n"', """
            frame "tavhost"
              frame "Log"
                text "Output" = 'one\\ntwo\\n' (read-only, multi-line)
                ...
        """),
    "dockable browser": (
        r'DOCKABLE_BROWSER winid:"t" title:"Stock" header:"Parts" content:"Name;Mass\nBeam;2"', """
            frame "tavhost"
              frame "Stock"
                label "Parts"
                table "Parts"
                  table column header "Name"
                  table column header "Mass"
                  table row header "1"
                  table cell "Beam"
                  table cell "2"
                label "1 row"
                ...
        """),
    "graphrep tool": (
        r'''GRAPHREP_TOOL title:"Pump" graphrep:"LINE x1:0 y1:0 x2:9 y2:9; TEXT \"Tank 12\" x:0 y:9;
        TEXT \"Valve\" x:9 y:9"''', """
            frame "tavhost"
              frame "Pump"
                image "Drawing": Tank 12, Valve
                ...
        """),
    "graphrep tool with a mistake": (
        'GRAPHREP_TOOL title:"Pump" graphrep:"OVAL{}"', """
            frame "tavhost"
              frame "Pump"
                image "Drawing": 1:1: there is no drawing element OVAL
                ...
        """),
}


def pattern_of(told):
    """What the lines have to match; a line of "..." stands for any number of lines."""
    lines = textwrap.dedent(told).strip("\n").rstrip().splitlines()
    return "".join(r"(?:.*\n)*?" if line.strip() == "..." else re.escape(line) + "\n"
                   for line in lines)


class Reader(session_bus.Helper):
    def __getattr__(self, request):
        def ask(*arguments):
            self.tell([request, arguments])
            answer = self.hear() or {"error": "the reader has ended"}
            if "error" in answer:
                raise AssertionError(f"{request}{arguments}: {answer['error']}")
            return answer["result"]
        return ask


class ScreenReaderTest(ProgramTest):
    @classmethod
    def setUpClass(cls):
        x_server.skip_without_windows()
        session_bus.skip_without("import gi", "gi.require_version('Atspi', '2.0')")
        home = tempfile.TemporaryDirectory()
        cls.addClassCleanup(home.cleanup)
        # Without a window manager, a program itself gives the keyboard to its window.
        server = x_server.XServer()
        cls.addClassCleanup(server.stop)
        cls.shown = {"DISPLAY": server.display, "QT_QPA_PLATFORM": "xcb",
                     "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1", "XDG_RUNTIME_DIR": home.name}
        bus = session_bus.Bus({**os.environ, **cls.shown, "HOME": home.name})
        cls.addClassCleanup(bus.stop)
        cls.shown["DBUS_SESSION_BUS_ADDRESS"] = bus.address
        cls.reader = Reader(READER, [], {**os.environ, **cls.shown, "HOME": home.name})
        cls.addClassCleanup(cls.reader.stop)

    def setUp(self):
        super().setUp()
        self.environment.update(self.shown)
        self.file("area/logo.txt", "")

    @contextlib.contextmanager
    def running(self, *arguments, **more):
        process = self.start(*arguments, env={**self.environment, **more})
        watchdog = threading.Timer(TIME_LIMIT, process.kill)
        watchdog.start()
        try:
            yield process
        finally:
            watchdog.cancel()
            process.kill()
            process.communicate()

    def script(self, script, **more):
        self.file("script.tav", script + "\n")
        return self.running("run", "--quiet", "--db", "db", "--ui", "qt", "script.tav", **more)

    def expect_end(self, process, output):
        out, err = process.communicate(timeout=TIME_LIMIT)
        self.assertEqual((out.decode(), err.decode(), process.returncode), (output, "", 0))

    def expect_told(self, told, title, has_focus=True):
        lines = "".join(line + "\n" for line in self.reader.read(title, has_focus))
        if not has_focus:  # it may have come there all the same
            lines = lines.replace(" (focused)", "").replace("(focused, ", "(")
        self.assertRegex(lines, rf"\A{pattern_of(told)}\Z")
        self.assertEqual(self.reader.unnamed(), [])

    def test_every_window_that_waits(self):
        for name, (script, title, told, way, button, output) in ROWS.items():
            with self.subTest(name), self.script(script) as process:
                self.expect_told(told, title)
                way = way.replace("{folder}", str(self.folder))
                stops = way.split(", ") if way else []
                names = [stop.partition('"')[2].rstrip('"') for stop in
                         self.reader.go_round(len(stops))]
                self.assertEqual(names, stops)
                self.reader.press(button)
                self.expect_end(process, output)

    def test_tools(self):
        for name, (script, told) in TOOLS.items():
            with self.subTest(name), self.script(script):  # which stays as long as its tools do
                self.expect_told(told, "tavhost", has_focus=False)

    def test_progress_is_announced(self):
        script = (
            'PERCWIN_CREATE title:"Sorting" with-cancel-button with-second-bar' +
            until("begin", "") +
            until("end", 'PERCWIN_SET percentage:(n % 100) text:("Step " + n)') +
            '\nPERCWIN_SET percentage:100 text:"Done"\ncanceled = 0\n'
            'while not canceled { PERCWIN_IS_CANCELED\nSLEEP ms:10 }\nprint "canceled"')
        with self.script(script) as process:
            self.expect_told("""
                dialog "Sorting" (focused)
                  label ""
                  progress bar "Progress" = 0 of 1000
                  label ""
                  progress bar "Progress of the present part" = 0 of 1000
                  ...
                  push button "Cancel"
            """, "Sorting")
            self.file("begin", "")
            self.reader.told(r'progress bar "Step \d+" = \d+0 of 1000: accessible-value')
            self.reader.told(r'label "Step \d+": accessible-name')
            self.file("end", "")
            self.reader.told('progress bar "(Step .*|Done)" = 1000 of 1000: accessible-value')
            self.reader.told('label "Done": accessible-name')
            self.expect_told("""
                dialog "Sorting" (focused)
                  label "Done"
                  progress bar "Done" = 1000 of 1000
                  ...
            """, "Sorting")
            self.reader.press("Cancel")
            self.expect_end(process, "canceled\n")

    def test_a_message_window_is_an_alert_that_tells_its_new_text(self):
        with self.script('MSGWIN "Reading"' + until("begin", "") +
                         until("end", 'MSGWIN ("Step " + n)')) as process:
            self.expect_told("""
                alert "Message"
                  label "Reading"
            """, "Message", has_focus=False)
            self.file("begin", "")
            self.reader.told(r'label "Step \d+": accessible-name')
            self.file("end", "")
            self.expect_end(process, "")

    def test_the_workbench_names_all_that_takes_the_keyboard(self):
        with self.running():
            self.reader.find("tavhost")
            self.assertEqual(self.reader.unnamed(), [])

    def test_windows_follow_the_language_of_the_desktop(self):
        for language, is_turned in (("en_US", False), ("he_IL", True), ("ar_EG", True)):
            script = 'QUERYBOX "x" title:"Turned" yes-no\nprint endbutton'
            with self.subTest(language), self.script(
                    script, LC_ALL=f"{language}.UTF-8") as process:
                self.reader.read("Turned")
                yes, no = map(self.reader.left_edge, ("Yes", "No"))
                self.assertEqual(yes > no, is_turned)
                self.reader.press("No")
                self.expect_end(process, "no\n")
