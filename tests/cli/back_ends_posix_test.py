"""The same script with the same answers does the same without a display, with windows that are only
drawn and with windows on an X server: what it prints, what it says, how it ends and what is
recorded, byte for byte."""

import json
import shutil
import subprocess

import x_server
from program import TIME_LIMIT, ProgramTest

# The families of commands that open windows; each of their commands has a row, its own example.
FAMILIES = ("dialogs", "tree_list_box", "progress_output", "browsers")

# Texts that widgets do not hold as they are, or would show as something else.
HOSTILE = r"a\r\nb\rc\td<b>&amp;\xE2\x80\xA9e\xC2\xA0f\xFFg שלום 漢字"
LINE = r"c\td<b>&amp;e\xC2\xA0f\xFFg שלום 漢字"  # without what breaks it
FIELD = rf'\"{HOSTILE}\"'  # of a table, quoted for what parts fields and rows

# Rows beside the examples: the script, its answers, what it prints.
ROWS = {
    "boxes by their defaults": (
        'QUERYBOX "a" yes-no def-no\nprint endbutton\nERRORBOX "b" retry-cancel\nprint endbutton\n'
        'WARNINGBOX "c" ok def-yes\nprint endbutton',
        "MESSAGE_BOX\nMESSAGE_BOX\nMESSAGE_BOX", "no\nretry\nok\n"),
    "cancelled by Escape": (
        'QUERYBOX "a" yes-no\nprint endbutton\nINFOBOX "b"\nprint "closed"',
        "MESSAGE_BOX button:cancel\nMESSAGE_BOX button:cancel", "cancel\nclosed\n"),
    "a result of its own": (
        'QUERYBOX "a" yes-no\nprint endbutton\nEDITFIELD caption:"b" text:"t"\nprint ecode',
        "MESSAGE_BOX result:3\nEDIT_FIELD result:-1", None),
    "texts that nobody touches": (
        f'EDITBOX text:"{HOSTILE}" -> a\nEDITFIELD caption:"{HOSTILE}" text:"{HOSTILE}" -> b\n'
        f'VIEWBOX text:"{HOSTILE}"\nprint a.text == "{HOSTILE}", b.text == "{HOSTILE}"',
        "EDIT_BOX\nEDIT_FIELD\nVIEW_BOX", "1 1\n"),
    "texts that an answer gives": (
        'EDITBOX text:"x" fileeditor -> a\nEDITFIELD caption:"c" -> b\n'
        f'print a.text == "{HOSTILE}", b.text == "{LINE}"\nprint kel_text(a.text)',
        f'EDIT_BOX text:"{HOSTILE}"\nEDIT_FIELD text:"{LINE}" button:ok', None),
    "text and cancel": (
        'EDITBOX text:"x" -> a\nprint a.text, a.endbutton',
        'EDIT_BOX text:"y" button:cancel', "y cancel\n"),
    "hostile entries": (
        f'LISTBOX entries:"{HOSTILE}||x" toksep:"|" -> a\n'
        f'MLISTBOX entries:"x|x|{HOSTILE}|x" toksep:"|" selection:"x" -> b\n'
        'print kel_text(a), kel_text(b)',
        f'LIST_BOX select:"{HOSTILE}"\nLIST_BOX select:("x", "{HOSTILE}", "x")', None),
    "check boxes of one text": (
        'LISTBOX entries:"a" extra:{ CHECKBOX "x" result-var:"x"; CHECKBOX "x" checked:1 '
        'result-var:"y"; CHECKBOX "z" checked:1 result-var:"z" } -> r\nprint kel_text(r)',
        'LIST_BOX select:"a" check:("x",) uncheck:("z",)', None),
    "lists as they stand": (
        'LISTBOX entries:"a b" selection:"b" -> r\nprint kel_text(r)\n'
        'MLISTBOX entries:"a b c" selection:"a c" -> r\nprint kel_text(r)\n'
        'LISTBOX entries:"" -> r\nprint kel_text(r)',
        "LIST_BOX\nLIST_BOX\nLIST_BOX select:()", None),
    "files that need not be there": (
        r'FILE_DIALOG open path:"no\\such" -> a' '\nFILE_DIALOG saveas default-ext:"txt" -> b\n'
        r'FILE_DIALOG open multi-sel -> c' '\nDIRECTORY_DIALOG path:"from" -> d\n'
        'IMAGE_PREVIEW_DLG extensions:"png" -> e\n'
        'for r in (a, b, c, d, e) { print kel_text(r) }',
        r'FILE_DIALOG path:"C:\\x\\ä.txt"' '\nFILE_DIALOG path:"report"\nFILE_DIALOG\n'
        r'DIRECTORY_DIALOG path:"\xFFto"' '\nIMAGE_DIALOG path:"none.png"', None),
    "a name that is offered, and nobody takes": (
        'FILE_DIALOG saveas path:"/none" filename:"report" default-ext:"txt" -> a\n'
        'FILE_DIALOG open path:"/none" filename:"b.txt" multi-sel -> b\n'
        'for r in (a, b) { print kel_text(r) }',
        "FILE_DIALOG\nFILE_DIALOG button:ok",
        '(endbutton: "ok", path: "")\n(endbutton: "ok", path: ())\n'),
    "files that nobody chooses": (
        'FILE_DIALOG open filename:"a.txt" -> a\nDIRECTORY_DIALOG path:"from" -> b\n'
        'IMAGE_PREVIEW_DLG -> c\nIMAGE_PREVIEW_DLG -> d\n'
        'for r in (a, b, c, d) { print kel_text(r) }',
        "FILE_DIALOG button:cancel\nDIRECTORY_DIALOG\nIMAGE_DIALOG button:cancel\nIMAGE_DIALOG", None),
    "trees": (
        'TLB_CREATE multi-sel:1 checklistbox:1 columns:2 searchable:1\n'
        r'TLB_INSERT id:1 text:"one\tfirst" is-parent:1' '\nTLB_INSERT id:-2 parentid:1 text:"two"\n'
        'TLB_INSERT id:3 text:"three"\nTLB_SELECT id:3\n'
        'TLB_ADD_BUTTON text:"More" name:"more" index:1\n'
        'TLB_SHOW -> a\nTLB_SHOW -> b\nTLB_SHOW -> c\nfor r in (a, b, c) { print kel_text(r) }',
        "TREE_LIST_BOX select:(1, -2)\nTREE_LIST_BOX deselect:3 button:more\n"
        "TREE_LIST_BOX button:cancel", None),
    "buttons of one name": (
        'TLB_CREATE\nTLB_ADD_BUTTON text:"Xadd" name:"cancel"\n'
        'TLB_ADD_BUTTON text:"One" name:"d e" disable_if_no_selection:1\n'
        'TLB_ADD_BUTTON text:"Two" name:"d e"\n'
        'TLB_SHOW -> a\nTLB_SHOW -> b\nTLB_SHOW -> c\nfor r in (a, b, c) { print kel_text(r) }',
        'TREE_LIST_BOX button:"cancel#2"\nTREE_LIST_BOX button:"d e#2"\n'
        'TREE_LIST_BOX button:cancel', None),
    "one of a tree": (
        'TLB_CREATE flat:1 no-cancel:1 no-help:1 sizeable:0\nTLB_INSERT id:1 text:"one"\n'
        'TLB_INSERT id:2 text:"two"\nTLB_SELECT id:1\nTLB_SHOW -> a\nprint kel_text(a)',
        "TREE_LIST_BOX select:2", None),
    "changes of a table": (
        r'EDIT_BROWSER title:"T" content:"h;a;b\n1;x;2\n2;y;1\n" with-handlecolumn' '\n'
        'print kel_text(text)',
        r'EDIT_BROWSER cells:{ CELL row:1 column:1 text:"q\r\n;\"w\""; INSERT_ROW row:3; '
        r'SORT_ROWS column:2 descending; DELETE_ROW row:1 }', None),
    "a table as it stands": (
        f'EDIT_BROWSER content:"a;b\\n{FIELD};" oktext:"Keep" max-size no-special-buttons -> r\n'
        f'BROWSER content:"a\\n{FIELD}" adjust-rows -> b\nprint kel_text(r), b.ecode',
        "EDIT_BROWSER button:cancel\nBROWSER", None),
    "windows that stay": (
        'MSGWIN "a"\nMSGWIN "b"\nQUERYBOX "Go on?" yes-no\nprint endbutton\nMSGWIN hide\n'
        'PERCWIN_CREATE title:"P" with-cancel-button with-second-bar:1\n'
        'for i from 1 to 5 { PERCWIN_SET percentage:(i * 20) text:"x"; PERCWIN_IS_CANCELED; '
        'if canceled { break } }\nprint i, canceled\nQUERYBOX "Really?" ok-cancel\nprint endbutton',
        "MESSAGE_BOX button:yes\nCANCEL_PROGRESS after:2\nMESSAGE_BOX button:ok", "yes\n2 1\nok\n"),
}

# What nobody could do, or what is missing: the script, its answers, the message's first line.
MISFITS = {
    "a greyed button": (
        'TLB_CREATE\nTLB_INSERT id:1 text:"a"\nTLB_SHOW', "TREE_LIST_BOX",
        "answers.kel:1: error: the button ok cannot be pressed while nothing is selected; "),
    "a greyed button of the script's": (
        'TLB_CREATE\nTLB_INSERT id:1 text:"a"\n'
        'TLB_ADD_BUTTON text:"D" name:"d" disable_if_no_selection:1\nTLB_SHOW',
        "TREE_LIST_BOX button:d",
        "answers.kel:1: error: the button d cannot be pressed while nothing is selected; "),
    "a command for rows where there is none": (
        r'EDIT_BROWSER content:"a\n1" no-special-buttons',
        "EDIT_BROWSER cells:{ DELETE_ROW row:1 }",
        "answers.kel:1: error: the window has no command DELETE_ROW; "),
    "a path beside cancel": (
        "FILE_DIALOG open", 'FILE_DIALOG path:"a" button:cancel',
        "answers.kel:1: error: nothing is chosen by cancel, so no path can stand beside it; "),
    "a path beside a result that cancels": (
        "FILE_DIALOG open", 'FILE_DIALOG path:"a" result:0',
        "answers.kel:1: error: nothing is chosen by a result other than 1, so no path can stand "
        "beside it; "),
    "the result of a greyed button": (
        'TLB_CREATE\nTLB_INSERT id:1 text:"a"\nTLB_SHOW', "TREE_LIST_BOX result:1",
        "answers.kel:1: error: the button ok cannot be pressed while nothing is selected; "),
    "a text of two lines in a field": (
        'EDITFIELD caption:"Name"', r'EDIT_FIELD text:"a\nb"',
        "answers.kel:1: error: the field holds one line, and the text has a line break; "),
    "a result of more than 16 bits": (
        'QUERYBOX "a" yes-no', "MESSAGE_BOX result:65538",
        "answers.kel:1: error: a window's result lies between -32768 and 32767; "),
    "no time that the script asks": (
        "PERCWIN_CREATE with-cancel-button", "CANCEL_PROGRESS after:0",
        "answers.kel:1: error: after counts the times that the script asks, from 1 on; "),
    "another window": (
        "IMAGE_PREVIEW_DLG", "MESSAGE_BOX",
        "answers.kel:1: error: MESSAGE_BOX does not answer an IMAGE_DIALOG; "),
    "no answer": (
        'INFOBOX "a"\nINFOBOX "b"', "MESSAGE_BOX",
        "answers.kel:2: error: no answer is left for the window; "),
}


class BackEndsTest(ProgramTest):
    @classmethod
    def setUpClass(cls):
        x_server.skip_without_windows()
        server = x_server.XServer()
        cls.addClassCleanup(server.stop)
        cls.display = server.display

    def environments(self):
        self.environment.pop("QT_QPA_PLATFORM", None)
        plain = {**self.environment, "XDG_RUNTIME_DIR": self.environment["HOME"]}
        return {"headless": plain, "drawn": {**plain, "QT_QPA_PLATFORM": "offscreen"},
                "shown": {**plain, "QT_QPA_PLATFORM": "xcb", "DISPLAY": self.display}}

    def run_everywhere(self, script, answers):
        """(output, messages, exit code, record) of each back end."""
        running = {}
        for name, environment in self.environments().items():
            folder = self.folder / name
            shutil.rmtree(folder, ignore_errors=True)
            folder.mkdir()
            (folder / "script.tav").write_text(script + "\n", encoding="utf-8")
            arguments = ["run", "--quiet", "--db", "area", "--record", "record.kel",
                         "--ui", "headless" if name == "headless" else "qt"]
            (folder / "answers.kel").write_bytes(answers.encode("utf-8", "surrogateescape") + b"\n")
            arguments += ["--answers", "answers.kel"]
            running[name] = self.start(*arguments, "script.tav", cwd=folder, env=environment)
        results = {}
        for name, process in running.items():
            try:
                out, err = process.communicate(timeout=TIME_LIMIT)
            except subprocess.TimeoutExpired:
                for other in running.values():
                    other.kill()
                    other.communicate()
                raise
            record = self.folder / name / "record.kel"
            results[name] = (out, err, process.returncode,
                             record.read_bytes() if record.exists() else None)
        return results

    def expect_same(self, script, answers):
        results = self.run_everywhere(script, answers)
        for name, result in results.items():
            self.assertEqual(result, results["headless"], name)
        return results["headless"]

    def test_every_command_of_a_family_with_windows(self):
        listed = json.loads(self.run_program("commands", "--json").out)["families"]
        families = [family for family in listed if family["name"] in FAMILIES]
        self.assertEqual(len(families), len(FAMILIES), [family["name"] for family in listed])
        for command in [command for family in families for command in family["commands"]]:
            with self.subTest(command["name"]):
                example = command["example"]
                out, err, code, record = self.expect_same(example["script"],
                                                          example.get("answers", ""))
                self.assertEqual((out.decode(), err, code), (example["output"] + "\n", b"", 0))
                # What was answered is recorded, each window.
                windows = len(example["answers"].splitlines()) if "answers" in example else 0
                self.assertEqual(record.count(b"\n"), windows, record)

    def test_rows(self):
        for name, (script, answers, output) in ROWS.items():
            with self.subTest(name):
                out, err, code, record = self.expect_same(script, answers)
                self.assertEqual((err, code), (b"", 0))
                self.assertNotEqual(out, b"")
                if output is not None:
                    self.assertEqual(out.decode(), output)
                # The record answers the same script in the same way.
                again = self.expect_same(script, record.decode("utf-8", "surrogateescape"))
                self.assertEqual(again, (out, err, code, record))

    def test_misfits(self):
        for name, (script, answers, message) in MISFITS.items():
            with self.subTest(name):
                out, err, code, _ = self.expect_same(script, answers)
                self.assertEqual((out, code), (b"", 3))
                lines = err.decode().splitlines()
                self.assertEqual(lines[0], message + "this line answers it:")
                last = len(script.splitlines())
                self.assertEqual(lines[2:], [f"script.tav:{last}: note: the window is opened here"])
