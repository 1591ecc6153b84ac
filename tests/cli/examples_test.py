"""The examples that tell about the host itself."""

import http.server
import json
import re
import signal
import socket
import subprocess
import threading
import unittest
from pathlib import Path

from program import ProgramTest

ROOT = Path(__file__).resolve().parent.parent.parent
EXAMPLES = ROOT / "examples"


def read_if_there(path):
    try:
        return path.read_bytes()
    except OSError:  # it has ended meanwhile
        return b""


class ExamplesTest(ProgramTest):
    def example(self, name, *arguments):
        result = self.run_program("run", str(EXAMPLES / name), *arguments)
        self.assertEqual((result.err, result.code), ("", 0), result)
        return result.out

    def test_hello(self):
        size = "Your screen is 1920 by 1080 pixels.\n"
        self.assertEqual(self.example("hello.tav"), "Hello, World!\n" + size)
        self.assertEqual(self.example("hello.tav", "Ada", "Grace"),
                         "Hello, Ada!\nHello, Grace!\n" + size)

    def test_ports(self):
        lines = self.example("ports.tav").split("\n")
        self.assertEqual(lines[:2], ["TavScript: 76 commands", "  INFOBOX"])
        self.assertEqual(lines[-2], "  INTERNAL_TAVSCRIPT_FINISHED")

    def test_parts_to_xml(self):
        self.file("parts.kel", 'PART "Bolt" mass:0.5 count:2\n')
        self.assertEqual(self.example("parts_to_xml.tav", "parts.kel"),
                         "Bolt: 2 x 0.5 kg = 1.0 kg\nTotal: 1.0 kg\n"
                         '<?xml version="1.0" encoding="UTF-8"?>\n'
                         '<parts><PART value="Bolt" mass="0.5" count="2"/></parts>\n')
        self.file("other.kel", "BOLT")
        result = self.run_program("run", str(EXAMPLES / "parts_to_xml.tav"), "other.kel")
        self.assertEqual((result.out, result.code), ("", 1))
        self.assertIn("error: unexpected element BOLT\n", result.err)

    def test_masses(self):
        result = self.run_program("run", "--answers", str(EXAMPLES / "masses.answers"),
                                  str(EXAMPLES / "masses.tav"))
        self.assertEqual((result.out, result.err, result.code), ("Total: 3.0\n", "", 0), result)

    def test_demo(self):
        self.file("a.txt", "first line\nsecond\n")
        out = self.example("demo.tav", "a.txt", "absent.txt")
        for part in ("This script was given 2 files:\n",
                     "  a.txt: 18 characters in 3 lines; the first:\n    first line\n",
                     "  absent.txt: cannot be read (ecode 1)\n",
                     "Ports: TavHost, TavScript\n",
                     "TavScript takes 76 commands, from INFOBOX to INTERNAL_TAVSCRIPT_FINISHED\n",
                     "The screen has 1920 x 1080 pixels.\nIts size is on the clipboard now.\n",
                     "Waited 0.1 s: 1\n",
                     '<parts><PART value="Piston" mass="2.5" material="steel"/>',
                     "Text that is no KEL: 1 KEL parse error\n",
                     "1 + 2 + ... + 100 = 5050\n",
                     'SLEEP: parameter "ms" must be an integer, not a string\n'):
            self.assertIn(part, out)

    def test_backup(self):
        self.file("work/a.txt", "a")
        self.file("work/sub/deep/b.bin", bytes(range(256)))
        (self.folder / "work/empty").mkdir()
        for arguments, target in ((["work"], "work-backup-1"), (["work/"], "work-backup-2"),
                                  (["work", "kept"], "kept")):
            with self.subTest(target):
                self.assertEqual(self.example("backup.tav", *arguments),
                                 f"2 files in 4 folders copied to {target}\n")
                self.assertEqual(self.read(f"{target}/a.txt"), "a")
                self.assertEqual((self.folder / target / "sub/deep/b.bin").read_bytes(),
                                 bytes(range(256)))
                self.assertTrue((self.folder / target / "empty").is_dir())
        self.assertEqual(sorted(path.name for path in (self.folder / "work").iterdir()),
                         ["a.txt", "empty", "sub"])
        for arguments, out, code in (([], "usage: backup.tav FOLDER [TARGET]\n", 2),
                                     (["absent"], "absent is no folder\n", 1),
                                     (["work", "kept"], "cannot make kept\n", 1),
                                     (["work", "work/in"], "the copy is not complete; work/in "
                                                           "holds what was copied\n", 1)):
            with self.subTest(arguments):
                self.expect(["run", str(EXAMPLES / "backup.tav"), *arguments], out, code=code)
        self.assertEqual(self.read("work/a.txt"), "a")

    def test_report(self):
        self.file("texts/a.txt", "one\ntwo\n")
        self.file("texts/b.TXT", "no line feed")
        self.file("texts/empty.txt", "")
        self.file("texts/c.log", "not of the mask\n")
        report = str(self.folder / "report.txt")
        self.assertEqual(self.example("report.tav", "texts", "*.txt", report),
                         f"written: {report}\n")
        self.assertEqual(self.read("report.txt"),
                         "texts: *.txt\n\na.txt: 2 lines, 8 characters\n"
                         "b.TXT: 1 lines, 12 characters\nempty.txt: 0 lines, 0 characters\n\n"
                         "in all: 3 lines, 20 characters\n")
        for arguments, path in (([], "report.txt"), (["*.txt", "mine.txt"], "mine.txt")):
            self.assertEqual(self.example("report.tav", "texts", *arguments),
                             f"written: {self.folder}/{path}\n")
            self.assertEqual(self.read(path), self.read("report.txt"))
        for arguments, out, code in (([], "usage: report.tav FOLDER [MASK] [REPORT]\n", 2),
                                     (["texts", "*.none"], "no *.none in texts\n", 1),
                                     (["texts", "*", str(self.folder / "no/such")],
                                      f"cannot write {self.folder}/no/such\n", 1)):
            with self.subTest(arguments):
                self.expect(["run", str(EXAMPLES / "report.tav"), *arguments], out, code=code)

    def test_rename(self):
        for name in ("IMG_1.jpg", "IMG_2.JPG", "holiday_2.jpg", "IMG_3.txt"):
            self.file(f"photos/{name}", name)
        names = lambda: sorted(path.name for path in (self.folder / "photos").iterdir())
        before = names()
        arguments = ["photos", "*.jpg", "IMG_", "holiday_"]
        self.assertEqual(self.example("rename.tav", *arguments),
                         "IMG_1.jpg -> holiday_1.jpg\nIMG_2.JPG -> holiday_2.JPG\n")
        self.assertEqual(names(), before)
        self.file("photos/holiday_1.jpg", "is there")
        self.expect(["run", str(EXAMPLES / "rename.tav"), *arguments, "go"],
                    "not renamed: IMG_1.jpg -> holiday_1.jpg\n1 renamed, 1 not\n", code=1)
        self.assertEqual(self.read("photos/holiday_1.jpg"), "is there")
        self.assertEqual(self.read("photos/IMG_1.jpg"), "IMG_1.jpg")
        self.assertEqual(self.read("photos/holiday_2.JPG"), "IMG_2.JPG")
        for arguments, out, code in (
                (["photos"], "usage: rename.tav FOLDER MASK OLD NEW [go]\n", 2),
                (["photos", "*", "", "x"], "nothing to replace\n", 2),
                (["absent", "*", "a", "b"], "no * in absent\n", 1)):
            with self.subTest(arguments):
                self.expect(["run", str(EXAMPLES / "rename.tav"), *arguments], out, code=code)

    def answered(self, name, *arguments, code=0, answers=None):
        """What an example prints with the answers file that belongs to it."""
        answers = answers or str(EXAMPLES / name) + ".answers"
        result = self.run_program("run", "--ui", "headless", "--answers", answers,
                                  str(EXAMPLES / f"{name}.tav"), *arguments)
        self.assertEqual((result.err, result.code), ("", code), result)
        return result.out

    def read(self, name):
        return (self.folder / name).read_text()

    def test_release_wizard(self):
        for base in ("", str(self.folder) + "/"):
            for name in ("guide.txt", "program.txt", "scratch.log"):
                self.file(f"parts{len(base)}/{name}", name)
            self.assertEqual(self.answered("release_wizard", f"{base}parts{len(base)}"),
                             "released 2 files as 2.0.0\n")
            released = self.folder / f"parts{len(base)}/release-2.0.0"
            self.assertEqual(sorted(path.name for path in released.iterdir()),
                             ["NOTES.txt", "guide.txt", "program.txt"])
            self.assertEqual((released / "NOTES.txt").read_text(),
                             "Version 2.0.0\n\n- everything is new\n")
        # Cancelled at once, and without anything to release.
        self.assertEqual(self.answered("release_wizard", "parts0", code=1,
                                       answers=self.file("no.kel", "EDIT_FIELD button:cancel\n"
                                                                   "MESSAGE_BOX\n")), "")
        self.answered("release_wizard", "absent", code=1, answers=self.file(
            "none.kel", 'EDIT_FIELD text:"1.0.0"\nMESSAGE_BOX\n'))

    def test_log_viewer(self):
        self.file("a.log", "18:30:00 started\n18:30:01 reading\n"
                           "18:30:02 ERROR cannot open engine.dat\n18:30:03 going on\n")
        self.assertEqual(self.answered("log_viewer", "a.log"),
                         "1 of 5 lines match error\nlooked at line 3\n")
        self.assertEqual(self.answered("log_viewer", "a.log", "nowhere", answers="accept"),
                         "0 of 5 lines match nowhere\n")
        self.answered("log_viewer", "a.log", "(", answers="accept", code=1)

    def test_tree_picker(self):
        self.file("tree/sub/b.txt", "1")
        self.file("tree/c.txt", "2")
        self.file("tree/d.txt", "3")
        self.assertEqual(self.answered("tree_picker", "tree", "out"),
                         "copied tree/sub/b.txt\ncopied tree/d.txt\n2 of 3 files picked\n")
        self.assertEqual((self.read("out/b.txt"), self.read("out/d.txt")), ("1", "3"))
        everything = self.answered("tree_picker", "tree", "all", answers=self.file(
            "all.kel", "TREE_LIST_BOX button:all\n"))
        self.assertTrue(everything.endswith("3 of 3 files picked\n"), everything)

    def test_csv_editor(self):
        self.file("parts.csv", "Name;Mass\nPiston;2.5\nValve;0.3\n")
        self.assertEqual(self.answered("csv_editor", "parts.csv"),
                         "written: 2 rows, 2 before\n")
        self.assertEqual(self.read("parts.csv"), "Name;Mass\nPiston;2.6\nValve;0.3\n")
        self.assertEqual(self.read("parts.csv.bak"), "Name;Mass\nPiston;2.5\nValve;0.3\n")

    def test_downloader(self):
        class Handler(http.server.SimpleHTTPRequestHandler):
            def __init__(handler, *arguments):
                super().__init__(*arguments, directory=str(self.folder / "served"))

            def log_message(handler, *arguments):
                pass

        self.file("served/a.bin", bytes(range(256)))
        self.file("served/b.txt", "text")
        server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        threading.Thread(target=server.serve_forever, daemon=True).start()
        self.addCleanup(server.server_close)
        self.addCleanup(server.shutdown)
        top = f"http://127.0.0.1:{server.server_port}"
        self.file("list.txt", f"# a comment\n{top}/a.bin\n\n{top}/b.txt?x=1\n{top}/absent\n")
        out = self.answered("downloader", "list.txt", "got", code=1, answers="accept")
        self.assertEqual(out, "fetched a.bin\nfetched b.txt\ncannot fetch absent\n"
                              "2 fetched, 1 failed\n")
        self.assertEqual((self.folder / "got/a.bin").read_bytes(), bytes(range(256)))
        elsewhere = str(self.folder / "elsewhere")
        self.answered("downloader", "list.txt", elsewhere, code=1, answers="accept")
        self.assertEqual(sorted(path.name for path in (self.folder / "elsewhere").iterdir()),
                         ["a.bin", "b.txt"])
        self.assertEqual(self.answered("downloader", "list.txt", "list.txt/in", code=1,
                                       answers="accept"),
                         f"cannot make {self.folder}/list.txt/in\n")
        out = self.answered("downloader", "list.txt", "half", answers=self.file(
            "cancel.kel", "CANCEL_PROGRESS after:2\n"))
        self.assertEqual(out, "fetched a.bin\ncancelled\n1 fetched, 0 failed\n")

    def test_nightly_report(self):
        self.file("data/a.txt", "12")
        self.file("data/b.TXT", "345")
        self.environment["NIGHTLY_TIME"] = "2026-11-21 03:00:00"
        first = ("Report of Saturday, 2026-11-21 03:00 UTC\n\n2 files, 5 characters\n"
                 "  txt          2\n\n")
        # The scheduler's line does for the first night as well.
        self.assertEqual(self.answered("nightly_report", "data", "r.txt"), first)
        self.assertEqual(self.read("r.txt"), first + "files:\na.txt\nb.TXT\n")
        self.file("data/c", "")
        out = self.answered("nightly_report", "data", str(self.folder / "r.txt"))
        self.assertIn("  none         1\n  txt          2\nnew since the last report: c\n", out)
        out = self.answered("nightly_report", "data", "r.txt")
        self.assertIn("\nnew since the last report: nothing\n", out)
        kept = self.answered("nightly_report", "data", "r.txt", answers=self.file(
            "no.kel", "MESSAGE_BOX button:no\n"))
        self.assertEqual(kept, "kept\n")

    def serve(self):
        """A running service: its port and its token file."""
        self.environment["XDG_RUNTIME_DIR"] = str(self.folder)
        service = self.start("serve", "--port", "0", stderr=subprocess.DEVNULL)
        self.addCleanup(service.stdout.close)
        self.addCleanup(service.wait, 20)
        self.addCleanup(service.terminate)
        port = service.stdout.readline().decode().strip().rpartition(":")[2]
        return port, service.stdout.readline().decode().strip().removeprefix("token file: ")

    def client(self, name, *arguments, stdin=""):
        # A proxy of the user's is not for them.
        proxy = "" if name == "/bin/sh" else "http://127.0.0.1:9"
        environment = {**self.environment, "http_proxy": proxy}
        return subprocess.run([str(EXAMPLES / name), *arguments], input=stdin, text=True,
                              capture_output=True, cwd=self.folder, env=environment, timeout=30)

    def test_service_clients(self):
        port, token_file = self.serve()
        size = {"variables": {"w": 1920, "h": 1080}, "output": "", "error": None,
                "exit": None, "errorAt": None}
        for name in ("service_client.py", "service_client.sh"):
            with self.subTest(name):
                done = self.client(name, port, token_file, "GET_DISPLAY_SIZE")
                self.assertEqual((done.returncode, done.stderr), (0, ""), done)
                self.assertEqual(json.loads(done.stdout), size)
                for command in ("SLEEP", "NO_SUCH", "@ask", 'KEL_TO_XML "A error:null"; x'):
                    failed = self.client(name, port, token_file, command)
                    self.assertEqual((failed.returncode, failed.stderr), (1, ""), failed)
                    self.assertTrue(json.loads(failed.stdout)["error"], failed)
                self.file("wrong", "0" * 32)
                wrong = self.client(name, port, "wrong", "GET_DISPLAY_SIZE")
                self.assertEqual(wrong.returncode, 1, wrong)
                self.assertIn("token", json.loads(wrong.stdout)["error"])

    def test_service_clients_that_cannot_ask(self):
        port, token_file = self.serve()
        with socket.create_server(("127.0.0.1", 0)) as listener:
            unused = str(listener.getsockname()[1])
        for name in ("service_client.py", "service_client.sh"):
            for arguments, told in (([], "usage: "), ([port, token_file], "usage: "),
                                    ([port, "absent", "GET_CWD"], "absent"),
                                    ([unused, token_file, "GET_CWD"], "refused|onnect")):
                with self.subTest(name, arguments=arguments):
                    done = self.client(name, *arguments)
                    self.assertEqual((done.returncode, done.stdout), (2, ""), done)
                    self.assertRegex(done.stderr, told)
                    self.assertNotIn("Traceback", done.stderr)

    def test_no_service_client_shows_its_token(self):
        """The arguments of programs can be read by all users of the machine."""
        _, token_file = self.serve()
        token = Path(token_file).read_text().strip()
        with socket.create_server(("127.0.0.1", 0)) as listener:
            port = str(listener.getsockname()[1])
            for name in ("service_client.py", "service_client.sh"):
                with self.subTest(name):
                    client = subprocess.Popen([str(EXAMPLES / name), port, token_file, "GET_CWD"],
                                              env=self.environment, stdout=subprocess.DEVNULL,
                                              stderr=subprocess.DEVNULL)
                    self.addCleanup(client.wait, 20)
                    self.addCleanup(client.kill)
                    connection, _ = listener.accept()
                    with connection:
                        self.assertIn(token.encode(), connection.recv(65536))
                        shown = [read_if_there(path)
                                 for path in Path("/proc").glob("[0-9]*/cmdline")]
                    for text, is_shown in ((token_file, True), (token, False)):
                        self.assertEqual(any(text.encode() in one for one in shown), is_shown)

    def test_the_service_client_ends_as_its_script(self):
        port, token_file = self.serve()
        for script, code in (("exit 3", 3), ("exit", 0), ("print 1", 0), ("exit 300", 255),
                             ("exit -1", 255), ("throw 7", 1)):
            with self.subTest(script):
                self.file("end.tav", script + "\n")
                done = self.client("service_client.py", port, token_file, "end.tav")
                self.assertEqual((done.returncode, done.stderr), (code, ""), done)

    def test_a_service_client_without_answers(self):
        port, token_file = self.serve()
        self.file("ask.tav", 'QUERYBOX "Delete it all?" yes-no\nprint endbutton\n')
        done = self.client("service_client.py", port, token_file, "ask.tav")
        self.assertEqual((done.returncode, done.stdout), (3, ""), done)
        self.assertRegex(done.stderr, "standard input has ended; the script was stopped\n$")
        # Nothing is left of it.
        next_one = self.client("service_client.py", port, token_file, "GET_DISPLAY_SIZE")
        self.assertEqual(next_one.returncode, 0, next_one)

    def test_a_service_client_that_is_interrupted(self):
        port, token_file = self.serve()
        self.file("ask.tav", 'QUERYBOX "Go on?" yes-no\n')
        client = subprocess.Popen(
            [str(EXAMPLES / "service_client.py"), port, token_file, "ask.tav"], cwd=self.folder,
            env=self.environment, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
            stderr=subprocess.PIPE, text=True)
        self.addCleanup(client.kill)
        said = ""
        while not said.endswith("MESSAGE_BOX button:yes:\n"):
            line = client.stderr.readline()
            self.assertTrue(line, said)
            said += line
        client.send_signal(signal.SIGINT)
        out, err = client.communicate(timeout=20)
        self.assertEqual((client.returncode, out, err), (130, "", ""))
        next_one = self.client("service_client.py", port, token_file, "GET_DISPLAY_SIZE")
        self.assertEqual(next_one.returncode, 0, next_one)

    def test_service_client_answers_dialogs(self):
        port, token_file = self.serve()
        self.file("ask.tav", 'EDITBOX title:"Names" text:"Ada"\nprint text\n'
                             'QUERYBOX "Is that right?" yes-no-cancel\nprint endbutton\n'
                             'INFOBOX "Done"\n')
        done = self.client("service_client.py", port, token_file, "ask.tav",
                           stdin='EDIT_BOX text:"Grace"\nmaybe\nno\n\n')
        self.assertEqual(done.returncode, 0, done)
        self.assertEqual(json.loads(done.stdout)["output"], "Grace\nno\n")
        for part in ("--- Names ---\nAda\nbuttons: ok, cancel\n", "Is that right?\n",
                     "there is no button maybe; there are: yes, no, cancel\n",
                     "Enter for MESSAGE_BOX button:ok:\n"):
            self.assertIn(part, done.stderr)
        self.file("fail.tav", "print missing\n")
        failed = self.client("service_client.py", port, token_file, "fail.tav")
        self.assertEqual(failed.returncode, 1, failed)
        self.assertIn("request:1:7: error", json.loads(failed.stdout)["error"])

    def test_the_page_of_the_service(self):
        """The requests by curl, as its page has them."""
        port, token_file = self.serve()
        page = (ROOT / "docs/script-service.md").read_text()
        shown = re.findall(r"^\$ ((?:token\b|.*\| curl -H @-).*(?:\n(?![{$`]).*)*)", page, re.MULTILINE)
        shown = [one.replace("/run/user/1000/tavhost/token-8080", token_file)
                    .replace("127.0.0.1:8080", f"127.0.0.1:{port}") for one in shown]
        define, command, status, cancel, ask, answer = shown

        def reply(request, **more):
            done = self.client("/bin/sh", "-c", f"{define}\n{request}", **more)
            self.assertEqual(done.returncode, 0, done)
            return json.loads(done.stdout)

        self.assertEqual(reply(command)["variables"], {"w": 1920, "h": 1080})
        self.assertIsNone(reply(status)["running"])
        self.assertEqual(reply(cancel)["error"], "there is no such request")
        question = reply(ask.replace("yes-no\n", 'yes-no\nQUERYBOX "Sure?" yes-no\n'))["question"]
        said = re.search("X-Tavhost-Question: ([0-9a-f]+)", answer)[1]
        self.assertIn(f'"id":"{said}"', page)
        second = reply(answer.replace(said, question["id"]))["question"]
        # The next curl may come when it likes.
        self.assertGreater(reply(status)["running"]["question"]["secondsLeft"], 200)
        done = reply(answer.replace(said, second["id"]))
        self.assertEqual((done["output"], done["error"]), ("no\n", None))

    def test_answers_fit_their_scripts(self):
        for answers in sorted(EXAMPLES.glob("*.answers")):
            script = answers.with_suffix(".tav")
            self.expect(["check", str(script), "--answers", str(answers)])

    def test_every_example_is_listed(self):
        page = (EXAMPLES / "README.md").read_text()
        for script in EXAMPLES.glob("*.tav"):
            self.assertIn(f"`{script.name}`", page)


if __name__ == "__main__":
    unittest.main()
