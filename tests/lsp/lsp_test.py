#!/usr/bin/env python3
"""Drives `tavhost lsp` as an editor does, and as a broken one does.

    tests/lsp/lsp_test.py [--tavhost PROGRAM] [NAME...]
"""

import argparse
import json
import os
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
PROGRAM = ROOT / "build/bin/tavhost"
TIME_LIMIT = 30


class Client:
    """One run of the server."""

    def __init__(self):
        self.process = subprocess.Popen([PROGRAM, "lsp"], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.last_id = 0
        self.diagnostics = {}

    def send_bytes(self, data):
        self.process.stdin.write(data)
        self.process.stdin.flush()

    def send(self, message):
        body = message if isinstance(message, bytes) else json.dumps(message).encode()
        self.send_bytes(b"Content-Length: %d\r\n\r\n" % len(body) + body)

    def receive(self):
        """The next message; None at the end."""
        length = None
        while line := self.process.stdout.readline():
            if line == b"\r\n":
                return json.loads(self.process.stdout.read(length))
            name, _, value = line.partition(b":")
            assert name == b"Content-Length", line
            length = int(value)
        return None

    def answer(self, wanted_id):
        while message := self.receive():
            if message.get("method") == "textDocument/publishDiagnostics":
                params = message["params"]
                self.diagnostics[params["uri"]] = params["diagnostics"]
            elif message.get("id") == wanted_id and "method" not in message:
                return message
        raise AssertionError("the server went")

    def request(self, method, params=None):
        self.last_id += 1
        self.send({"jsonrpc": "2.0", "id": self.last_id, "method": method, "params": params or {}})
        return self.answer(self.last_id)

    def result(self, method, params=None):
        message = self.request(method, params)
        assert "result" in message, message
        return message["result"]

    def notify(self, method, params):
        self.send({"jsonrpc": "2.0", "method": method, "params": params})

    def end(self):
        """The exit code."""
        self.process.stdin.close()
        code = self.process.wait(TIME_LIMIT)
        self.process.stdout.close()
        self.errors = self.process.stderr.read()
        self.process.stderr.close()
        return code


class LanguageServerTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.client = Client()
        self.addCleanup(self.kill)

    def kill(self):
        if self.client.process.poll() is None:
            self.client.process.kill()
            self.client.end()

    def begin(self):
        return self.client.result("initialize", {"processId": None, "rootUri": None,
                                                 "capabilities": {}})

    def open(self, text, name="a b.tav"):
        """The document's address; its diagnostics are there afterwards."""
        uri = (self.folder / name).as_uri()
        self.text = text
        self.uri = uri
        self.client.notify("initialized", {})
        self.client.notify("textDocument/didOpen", {"textDocument": {
            "uri": uri, "languageId": "tavscript", "version": 1, "text": text}})
        self.sync()
        return uri

    def sync(self):
        self.client.result("textDocument/documentSymbol", {"textDocument": {"uri": self.uri}})

    def at(self, part, within=0):
        """The place of the first occurrence of a text, `within` characters on."""
        offset = self.text.index(part) + within
        line = self.text.count("\n", 0, offset)
        start = self.text.rfind("\n", 0, offset) + 1
        units = len(self.text[start:offset].encode("utf-16-le")) // 2
        return {"textDocument": {"uri": self.uri}, "position": {"line": line, "character": units}}

    def marked(self, place):
        """The text of a range."""
        lines = self.text.split("\n")
        begin, end = place["start"], place["end"]
        self.assertEqual(begin["line"], end["line"], place)
        units = lines[begin["line"]].encode("utf-16-le")
        return units[2 * begin["character"]:2 * end["character"]].decode("utf-16-le")

    def test_a_session(self):
        capabilities = self.begin()["capabilities"]
        for name in ("completionProvider", "hoverProvider", "definitionProvider",
                     "documentSymbolProvider", "textDocumentSync"):
            self.assertTrue(capabilities[name], name)
        self.open("print 1\n")
        self.assertEqual(self.client.diagnostics[self.uri], [])
        self.assertIsNone(self.client.result("shutdown"))
        self.client.notify("exit", {})
        self.assertEqual(self.client.end(), 0)
        self.assertEqual(self.client.errors, b"")

    def test_diagnostics(self):
        self.begin()
        self.open('x = "😀"; FREAD fiel:"a"\nQUERYBOX "?" yes-no\n')
        error, hint = self.client.diagnostics[self.uri]
        self.assertEqual((error["severity"], hint["severity"]), (1, 4))
        self.assertEqual(self.marked(error["range"]), "fiel")
        self.assertIn('did you mean "file"', error["message"])
        self.assertEqual(self.marked(hint["range"]), "QUERYBOX")
        # Changes of parts, counted in UTF-16 units.
        place = error["range"]
        self.client.notify("textDocument/didChange", {
            "textDocument": {"uri": self.uri, "version": 2},
            "contentChanges": [{"range": place, "text": "file"},
                               {"range": {"start": {"line": 1, "character": 0},
                                          "end": {"line": 2, "character": 0}}, "text": ""}]})
        self.sync()
        self.assertEqual(self.client.diagnostics[self.uri], [])
        self.client.notify("textDocument/didChange", {
            "textDocument": {"uri": self.uri, "version": 3}, "contentChanges": [{"text": "print )"}]})
        self.sync()
        (error,) = self.client.diagnostics[self.uri]
        self.assertEqual(error["range"]["start"], {"line": 0, "character": 6})
        self.client.notify("textDocument/didClose", {"textDocument": {"uri": self.uri}})
        self.assertIn("error", self.client.request("textDocument/hover", self.at("x")))
        self.assertEqual(self.client.diagnostics[self.uri], [])

    def test_included_files(self):
        (self.folder / "lib.tav").write_text("func half(x) { return x / 2 }\nFRED\n")
        self.begin()
        self.open('include "lib.tav"\nprint half(4)\n')
        (error,) = self.client.diagnostics[self.uri]
        self.assertEqual(self.marked(error["range"]), "lib.tav")
        self.assertIn("lib.tav:2: unknown command", error["message"])
        found = self.client.result("textDocument/definition", self.at("half", 1))
        self.assertEqual(found["uri"], (self.folder / "lib.tav").as_uri())
        self.assertEqual(found["range"]["start"], {"line": 0, "character": 5})
        found = self.client.result("textDocument/definition", self.at("lib.tav", 2))
        self.assertEqual(found["uri"], (self.folder / "lib.tav").as_uri())

    def labels(self, part):
        place = self.at(part, len(part))
        items = self.client.result("textDocument/completion", place)
        return {item["label"]: item for item in items}

    def test_completion(self):
        self.begin()
        self.open("total = 1\nfunc add(one, two) { local = one + two; return loc }\nQUER\n"
                  "FREAD fi\nprint tot + upp\nQUERYBOX \"?\" def-y\nincl\n")
        found = self.labels("QUER")
        self.assertEqual(list(found), ["QUERYBOX"])
        self.assertEqual(found["QUERYBOX"]["detail"],
                         "Asks a question and reports the button that answered it.")
        self.assertEqual(self.marked(found["QUERYBOX"]["textEdit"]["range"]), "QUER")
        self.assertEqual(found["QUERYBOX"]["textEdit"]["newText"], "QUERYBOX")
        self.assertEqual(list(self.labels("FREAD fi")), ["file:"])
        self.assertEqual(list(self.labels("print tot")), ["total"])
        self.assertEqual(self.labels("upp")["upper"]["detail"], "upper(text)")
        self.assertEqual(list(self.labels("def-y")), ["def-yes"])
        self.assertIn("local", self.labels("return loc"))
        self.assertIn("include", self.labels("incl"))
        self.assertEqual(self.client.result("textDocument/completion", self.at('"?', 2)), [])

    def hover(self, part, within=1):
        found = self.client.result("textDocument/hover", self.at(part, within))
        return found and found["contents"]["value"]

    def test_hover(self):
        self.begin()
        self.open('FREAD file:"a" -> r\nQUERYBOX "Go on?" yes-no\nif endbutton == "yes" '
                  "{ print upper(r.text), greet(1) }\nfunc greet(who) { return who }\n"
                  "# nothing here ...\n")
        self.assertIn("Reads a whole file.", self.hover("FREAD"))
        self.assertIn("The path of the file.", self.hover("file:"))
        self.assertIn("The results of `FREAD`.", self.hover("r.text", 0))
        self.assertIn("A result of `QUERYBOX`.", self.hover("endbutton"))
        self.assertIn("`cancel`", self.hover("endbutton"))
        self.assertIn("Buttons Yes and No.", self.hover("yes-no"))
        self.assertIn("upper(text)", self.hover("upper"))
        self.assertIn("func greet(who)", self.hover("greet"))
        self.assertIn("A parameter of `greet`.", self.hover("who }"))
        self.assertIsNone(self.hover("...", 2))

    def test_every_built_in_function_has_its_help(self):
        names = re.findall(r'^\s*\{"(\w+)", \d', (ROOT / "tavhost/script/built_in/built_in.cpp").read_text(),
                           re.MULTILINE)
        self.assertGreater(len(names), 30)
        self.begin()
        self.open("".join(f"x = {name}(1)\n" for name in names))
        for name in names:
            self.assertIn(f"\n{name}(", self.hover(f" {name}("), name)

    def test_definition(self):
        self.begin()
        self.open("total = 1\ntotal = total + add(1, 2)\n"
                  "func add(one, two) {\n  sum = one + two\n  return sum + total\n}\n"
                  "for i from 1 to 3 { print i }\ntry { add(1, 2) } catch e { print e.message }\n"
                  'LISTBOX entries:"a" -> choice\nprint choice.endbutton\nGET_CWD\nprint cwd\n')

        def target(part, within=0):
            found = self.client.result("textDocument/definition", self.at(part, within))
            return (found["range"]["start"]["line"], self.marked(found["range"])) if found else None

        self.assertEqual(target("total + add"), (0, "total"))
        self.assertEqual(target("add(1"), (2, "add"))
        self.assertEqual(target("one + two"), (2, "one"))
        self.assertEqual(target("two\n"), (2, "two"))
        self.assertEqual(target("sum + total"), (3, "sum"))
        self.assertEqual(target("sum + total", 6), (0, "total"))
        self.assertEqual(target("print i", 6), (6, "i"))
        self.assertEqual(target("e.message"), (7, "e"))
        self.assertEqual(target("choice.end"), (8, "choice"))
        self.assertEqual(target("print cwd", 6)[0], 10)
        self.assertIsNone(target("LISTBOX"))

    def test_symbols(self):
        self.begin()
        uri = self.open("total = 1\n# {\nfunc add(a) {\n  inner = \"}\"\n  return a\n}\nprint add(2)\n"
                        "GET_CWD\n")
        found = self.client.result("textDocument/documentSymbol", {"textDocument": {"uri": uri}})
        self.assertEqual({symbol["name"]: symbol["kind"] for symbol in found},
                         {"add": 12, "total": 13})
        add = next(symbol for symbol in found if symbol["name"] == "add")
        self.assertEqual(add["range"], {"start": {"line": 2, "character": 0},
                                        "end": {"line": 5, "character": 1}})
        self.assertEqual(self.marked(add["selectionRange"]), "add")
        # A text that does not parse any more keeps what was known.
        self.client.notify("textDocument/didChange", {
            "textDocument": {"uri": uri}, "contentChanges": [{"text": self.text + "if {"}]})
        again = self.client.result("textDocument/documentSymbol", {"textDocument": {"uri": uri}})
        self.assertEqual(again, found)

    def test_quick_fix(self):
        self.begin()
        uri = self.open('FREAD fiel:"a.txt"\nINFOBX "x"\n')
        whole = {"start": {"line": 0, "character": 0}, "end": {"line": 0, "character": 5}}
        (action,) = self.client.result("textDocument/codeAction", {
            "textDocument": {"uri": uri}, "range": whole, "context": {"diagnostics": []}})
        (edit,) = action["edit"]["changes"][uri]
        self.assertEqual((self.marked(edit["range"]), edit["newText"]), ("fiel", "file"))

    def test_errors(self):
        early = self.client.request("textDocument/hover", {})
        self.assertEqual(early["error"]["code"], -32002)
        self.begin()
        self.assertEqual(self.client.request("no/such")["error"]["code"], -32601)
        self.client.notify("no/such", {})
        self.client.notify("$/cancelRequest", {"id": 1})
        self.assertEqual(self.client.request("textDocument/hover")["error"]["code"], -32602)
        for params in ([], 5, {"textDocument": 3}, {"textDocument": {"uri": 7}}, None,
                       {"textDocument": {"uri": "file:///x"}, "position": {}}):
            self.client.last_id += 1
            self.client.send({"jsonrpc": "2.0", "id": self.client.last_id,
                              "method": "textDocument/completion", "params": params})
            self.assertIn("error", self.client.answer(self.client.last_id), params)
        self.open("print 1\n")
        for line, character in ((0, 10**9), (10**9, 0), (-5, -5), (0, 2**62)):
            self.client.result("textDocument/hover", {
                "textDocument": {"uri": self.uri},
                "position": {"line": line, "character": character}})

    def test_bad_messages(self):
        self.client.send_bytes(b"Hello\r\nContent-Length: x\r\n\r\nContent-Type: a\r\n")
        self.client.send(b"{not json")
        self.assertEqual(self.client.receive()["error"]["code"], -32700)
        self.client.send(b"\xff\xfe\x00")
        self.assertEqual(self.client.receive()["error"]["code"], -32700)
        self.client.send(b"[" * 100000)
        self.assertEqual(self.client.receive()["error"]["code"], -32700)
        deep = b"[" * 100000 + b"]" * 100000
        for body in (b'{"id":%s,"method":"x"}' % deep, b'{"id":1,"method":"x","params":%s}' % deep):
            self.client.send(body)
            self.assertEqual(self.client.receive()["error"]["code"], -32700)
        self.client.send(b"")
        self.assertEqual(self.client.receive()["error"]["code"], -32700)
        for body in (b"5", b"[]", b"null", b'{"id":1}', b'{"id":1,"method":7}'):
            self.client.send(body)
            self.assertEqual(self.client.receive()["error"]["code"], -32600, body)
        self.client.send(b'{"id":1,"result":null}')
        self.begin()
        self.open("print 1\n")

    def test_a_client_that_goes(self):
        self.begin()
        self.assertEqual(self.client.end(), 1)

    def test_exit_without_shutdown(self):
        self.client.notify("exit", {})
        self.assertEqual(self.client.end(), 1)

    def test_a_text_that_is_no_utf8_and_one_that_is_large(self):
        self.begin()
        self.open('print "\\ud800"\n'.replace("\\ud800", "\ud800")
                  .encode("utf-8", "surrogatepass").decode("utf-8", "replace"))
        self.open("".join(f'x{i} = {i}; QUERYBOX "?" yes-no; print endbutton, x{i}\n'
                          for i in range(5000)))
        self.assertEqual(self.client.diagnostics[self.uri], [])

    def test_a_path_of_many_links(self):
        self.begin()
        self.open("t = 1\nx = t" + "[0]" * 120_000 + "\ny = t" + ".a" * 120_000 + "\n")
        self.assertEqual(self.client.diagnostics[self.uri], [])
        self.client.result("textDocument/documentSymbol", {"textDocument": {"uri": self.uri}})


class ExtensionTest(unittest.TestCase):
    """What the extension's data files say holds together."""

    FOLDER = ROOT / "editors/vscode"

    def data(self, name):
        return json.loads((self.FOLDER / name).read_text())

    def test_the_files_that_are_named_are_there(self):
        package = self.data("package.json")
        contributes = package["contributes"]
        names = [package["main"], contributes["languages"][0]["configuration"],
                 contributes["grammars"][0]["path"], contributes["snippets"][0]["path"]]
        for name in names:
            self.assertTrue((self.FOLDER / name).is_file(), name)
        grammar = self.data(contributes["grammars"][0]["path"])
        self.assertEqual(grammar["scopeName"], contributes["grammars"][0]["scopeName"])

    def test_patterns(self):
        def patterns(node):
            if isinstance(node, dict):
                for key, value in node.items():
                    if key in ("match", "begin", "end"):
                        yield value
                    else:
                        yield from patterns(value)
            elif isinstance(node, list):
                for value in node:
                    yield from patterns(value)

        found = list(patterns(self.data("syntaxes/tavscript.tmLanguage.json")))
        self.assertGreater(len(found), 10)
        for pattern in found:
            # Look-behind of several lengths is the editor's engine's, not Python's.
            re.compile(pattern.replace("(?<=^|[;{}])", ""))

    def test_snippets_are_scripts_without_mistakes(self):
        for name, snippet in self.data("snippets/tavscript.json").items():
            text = "\n".join(snippet["body"])
            text = re.sub(r"\$\{\d+:([^}]*)\}|\$\{\d+\}|\$\d+", lambda m: m[1] or "", text)
            text = "names = (); text = \"\"\n" + text
            with tempfile.TemporaryDirectory() as folder:
                Path(folder, "s.tav").write_text(text + "\n")
                done = subprocess.run([PROGRAM, "check", "s.tav"], cwd=folder, capture_output=True,
                                      text=True)
            self.assertEqual(done.returncode, 0, f"{name}\n{text}\n{done.stdout}")


def main():
    global PROGRAM
    parser = argparse.ArgumentParser()
    parser.add_argument("--tavhost", default=PROGRAM, type=Path)
    parser.add_argument("names", nargs="*")
    options = parser.parse_args()
    PROGRAM = options.tavhost.resolve()
    if not os.access(PROGRAM, os.X_OK):
        sys.exit(f"{PROGRAM} is not there; build it first")
    unittest.main(argv=[sys.argv[0], *options.names], verbosity=0)


if __name__ == "__main__":
    main()
