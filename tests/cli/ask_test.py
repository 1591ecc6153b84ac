"""What the documents say of windows that are asked for in the terminal."""

import re
import unittest
from pathlib import Path

from program import ProgramTest

DOCUMENT = Path(__file__).resolve().parent.parent.parent / "docs/answers-and-traces.md"

TABLE = r'content:"a;b\n1;2"'
# Scripts whose window is asked for as the row of its name says.
WINDOWS = {
    "message box": 'QUERYBOX "?" yes-no def-yes',
    "view box": 'VIEWBOX text:"x"',
    "edit box": 'EDITBOX text:"x"',
    "edit field": 'EDITFIELD caption:"Name" text:"Ada"',
    "list box": 'LISTBOX entries:"a b" extra:{ CHECKBOX "x" result-var:"x" }',
    "file dialog": 'FILE_DIALOG open filename:"a.txt"',
    "file dialog for several": 'FILE_DIALOG open multi-sel filename:"a.txt"',
    "directory dialog": 'DIRECTORY_DIALOG path:"here"',
    "image dialog": "IMAGE_PREVIEW_DLG",
    "tree list box": 'TLB_CREATE\nTLB_ADD_BUTTON text:"More" name:"more"\nTLB_SHOW',
    "browser": f"BROWSER {TABLE}",
    "edit browser": f"EDIT_BROWSER {TABLE}",
}


def rows():
    """{window: (question, line)} of the table."""
    text = DOCUMENT.read_text(encoding="utf-8")
    table = text[text.index("| window | it asks | a line is |"):].split("\n\n")[0]
    cells = [[cell.strip() for cell in line.strip("|").split(" | ")]
             for line in table.splitlines()[2:]]
    return {window: (question.strip("`"), line) for window, question, line in cells}


class AskTest(ProgramTest):
    def test_every_window_asks_as_the_table_says(self):
        table = rows()
        self.assertEqual(sorted(table), sorted(WINDOWS))
        for window, script in WINDOWS.items():
            question, line = table[window]
            with self.subTest(window):
                result = self.run_program("run", "--ui", "headless", "--answers", "ask", "-e", script,
                                          stdin="/cancel\n")
                self.assertEqual(result.code, 0, result.err)
                asked = result.err.splitlines()[-1]
                pattern = ".+".join(re.escape(part) for part in question.split("…"))
                self.assertRegex(asked, f"^{pattern} ?$")
                self.assertIn("empty", line)
                # What a line can begin with is told where one is asked for, or the row alone knows.
                for mark in ("/none", "c1", "~id", "!button"):
                    self.assertEqual(mark in asked, mark in line, mark)


if __name__ == "__main__":
    unittest.main()
