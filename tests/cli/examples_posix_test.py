"""The examples that write, where no file can grow: none says that it has written."""

import functools
import http.server
import resource
import threading
import unittest
from pathlib import Path

from program import ProgramTest

EXAMPLES = Path(__file__).resolve().parent.parent.parent / "examples"


def no_file_may_grow():
    resource.setrlimit(resource.RLIMIT_FSIZE, (0, 0))


class FullDiskTest(ProgramTest):
    def fails(self, name, *arguments, answers="", says="", box=None):
        if box:
            answers += 'MESSAGE_BOX\n'
        answers_file = self.file(f"{name}.kel", answers)
        result = self.run_program("run", "--ui", "headless", "--trace", "-", "--answers",
                                  answers_file, str(EXAMPLES / f"{name}.tav"), *arguments,
                                  preexec_fn=no_file_may_grow)
        self.assertEqual(result.code, 1, result)
        self.assertIn(says, result.out, result)
        if box:
            self.assertIn(f'ErrorBox(top, 16, "{box}")', result.err)

    def answers_of(self, name):
        return (EXAMPLES / f"{name}.answers").read_text()

    def test_report(self):
        self.file("texts/a.txt", "one")
        report = str(self.folder / "report.txt")
        self.fails("report", "texts", "*.txt", report, says=f"cannot write all of {report}\n")

    def test_nightly_report(self):
        self.file("data/a.txt", "one")
        self.fails("nightly_report", "data", "r.txt", answers=self.answers_of("nightly_report"),
                   says="cannot write r.txt\n")

    def test_backup(self):
        self.file("work/a.txt", "one")
        self.fails("backup", "work", "kept", says="the copy is not complete; kept holds")

    def test_tree_picker(self):
        self.file("tree/c.txt", "2")
        self.fails("tree_picker", "tree", "all", answers="TREE_LIST_BOX button:all\n",
                   says="cannot copy tree/c.txt\n")

    def test_csv_editor(self):
        self.file("parts.csv", "Name;Mass\nPiston;2.5\nValve;0.3\n")
        self.fails("csv_editor", "parts.csv", answers=self.answers_of("csv_editor"),
                   box="Cannot keep the table of before as parts.csv.bak.")
        self.assertEqual((self.folder / "parts.csv").read_text(),
                         "Name;Mass\nPiston;2.5\nValve;0.3\n")

    def test_release_wizard(self):
        for name in ("guide.txt", "program.txt"):
            self.file(f"parts/{name}", name)
        answers = self.answers_of("release_wizard").rpartition("MESSAGE_BOX")[0]
        self.fails("release_wizard", "parts", answers=answers, box="Cannot copy guide.txt.")

    def test_downloader(self):
        self.file("served/a.txt", "text")

        class Handler(http.server.SimpleHTTPRequestHandler):
            def log_message(self, *arguments):
                pass

        handler = functools.partial(Handler, directory=str(self.folder / "served"))
        server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), handler)
        threading.Thread(target=server.serve_forever, daemon=True).start()
        self.addCleanup(server.server_close)
        self.addCleanup(server.shutdown)
        self.file("list.txt", f"http://127.0.0.1:{server.server_port}/a.txt\n")
        self.fails("downloader", "list.txt", "got", says="cannot write a.txt\n")


if __name__ == "__main__":
    unittest.main()
