#!/usr/bin/env python3
"""The script service: `tavhost serve` and SERVICE, over real sockets on loopback.

usage: service_test.py [--tavhost PROGRAM] [--wine] [--seconds N] [unittest arguments]
"""
import argparse
import concurrent.futures
import contextlib
import getpass
import http.client
import json
import os
import re
import select
import signal
import socket
import stat
import subprocess
import sys
import tempfile
import threading
import time
import unittest

sys.dont_write_bytecode = True
ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, os.path.join(ROOT, "tests"))
import sanitizers  # noqa: E402
import waiting  # noqa: E402
import wine  # noqa: E402

# What a reply holds beside the variables when all went well and nothing was printed.
WELL = {"output": "", "error": None, "exit": None, "errorAt": None}

program = []
on_windows = False
soak_seconds = 8


def token_path(port, folder):
    """Where the service on a port writes its token; on POSIX systems below the folder that
    XDG_RUNTIME_DIR names."""
    if not on_windows:
        return os.path.join(folder, "tavhost", f"token-{port}")
    users = os.path.join(os.environ["WINEPREFIX"], "drive_c", "users")
    return os.path.join(users, getpass.getuser(), "AppData", "Local", "tavhost", f"token-{port}")


class Service:
    """`tavhost serve` on a free port."""

    def __init__(self, *options, environment=None, **more):
        self.process = subprocess.Popen([*program, "serve", "--port", "0", *options],
                                        stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                        stdin=subprocess.DEVNULL, env=environment, **more)
        self.hosts = []  # as they stand in URLs
        while match := re.fullmatch(r"listening on (?:http://(.+):(\d+)|unix:.+)",
                                    self.next_line()):
            if match.group(1):
                self.hosts.append(match.group(1))
                self.port = int(match.group(2))
        self.token_file = re.fullmatch(r"token file: (.+)", self.last_line).group(1)
        self.errors = []
        self.reader = threading.Thread(target=lambda: self.errors.extend(self.process.stderr),
                                       daemon=True)
        self.reader.start()

    def next_line(self):
        self.last_line = self.process.stdout.readline().decode().strip()
        return self.last_line

    @property
    def token_path(self):
        if not on_windows:
            return self.token_file
        prefix = os.environ["WINEPREFIX"]
        return prefix + "/drive_c" + self.token_file[2:].replace("\\", "/")

    @property
    def token(self):
        with open(self.token_path) as file:
            return file.read().strip()

    def stop(self):
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGINT)  # under Wine a Ctrl-C
        self.process.wait(timeout=20)
        self.reader.join(timeout=5)
        self.process.stdout.close()
        self.process.stderr.close()

    def post(self, path, body, token=None, headers=None, timeout=30, host="127.0.0.1"):
        connection = http.client.HTTPConnection(host, self.port, timeout=timeout)
        try:
            connection.request("POST", path, body.encode() if isinstance(body, str) else body,
                               {"X-Tavhost-Token": token or self.token, **(headers or {})})
            reply = connection.getresponse()
            return reply.status, json.loads(reply.read())
        finally:
            connection.close()

    def raw(self, request, timeout=5, host="127.0.0.1"):
        """Sends bytes as they are; returns the status code of the answer, None without one."""
        with socket.create_connection((host, self.port), timeout=timeout) as connection:
            try:
                connection.sendall(request)
                reply = connection.recv(65536)
            except (ConnectionError, socket.timeout):
                return None
        match = re.match(rb"HTTP/1\.1 (\d+) ", reply)
        return int(match.group(1)) if match else None

    def head(self, path="/command", method="POST", token=None, host=None, extra=(), version="1.1"):
        lines = [f"{method} {path} HTTP/{version}", f"Host: {host or f'127.0.0.1:{self.port}'}",
                 f"X-Tavhost-Token: {token or self.token}", *extra]
        return ("\r\n".join(lines) + "\r\n").encode("latin-1")

    def sent(self, body, path="/script", extra=()):
        """A connection on which a request has been sent, its answer still to come."""
        connection = socket.create_connection(("127.0.0.1", self.port), timeout=30)
        body = body.encode()
        length = f"Content-Length: {len(body)}"
        connection.sendall(self.head(path, extra=[length, *extra]) + b"\r\n" + body)
        return connection

    def has_taken_all(self):
        """Once it has answered this, it has taken every request sent before."""
        return self.raw(b"GARBAGE\r\n\r\n") == 400


def mark(test):
    """What a script of the test may write to say how far it has come."""
    folder = tempfile.TemporaryDirectory()
    test.addCleanup(folder.cleanup)
    return waiting.Mark(folder.name)


class Case(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.service = Service()
        cls.addClassCleanup(cls.service.stop)

    def assertAlive(self):
        status, reply = self.service.post("/command", "GET_DISPLAY_SIZE")
        self.assertEqual((status, reply["error"]), (200, None))


class Requests(Case):
    def test_command(self):
        status, reply = self.service.post("/command", "GET_DISPLAY_SIZE")
        self.assertEqual(status, 200)
        self.assertEqual(reply, {"variables": {"w": 1920, "h": 1080}, **WELL})

    def test_script(self):
        text = 'x = 1 + 1\nr = (a: "é", b: (1, 2.5, ()))\nprint "hello", x\n'
        status, reply = self.service.post("/script", text)
        self.assertEqual(status, 200)
        self.assertEqual(reply["output"], "hello 2\n")
        self.assertEqual(reply["variables"]["x"], 2)
        self.assertEqual(reply["variables"]["r"], {"a": "é", "b": [1, 2.5, []]})
        self.assertIsNone(reply["error"])

    def test_errors(self):
        for path, text, wanted in [
                ("/script", "x = ", "request:1:"), ("/script", "print nothing", "request:1:7: error"),
                ("/command", "NO_SUCH_COMMAND", 'unknown command "NO_SUCH_COMMAND"'),
                ("/command", "SLEEP", 'SLEEP: parameter "ms" is missing'),
                ("/command", "SLEEP ms:(", "1:"), ("/command", "", "one command"),
                ("/command", "BEEP freq:1 ms:1; BEEP freq:1 ms:1", "one command")]:
            with self.subTest(text):
                status, reply = self.service.post(path, text)
                self.assertEqual(status, 200)
                self.assertIn(wanted, reply["error"])

    def test_printed_text_stays_when_a_script_fails(self):
        reply = self.service.post("/script", 'print "so far"\nprint missing')[1]
        self.assertEqual(reply["output"], "so far\n")
        self.assertIn("request:2:", reply["error"])

    def test_scripts_start_empty(self):
        self.service.post("/script", "left = 1")
        self.assertNotIn("left", self.service.post("/script", "x = 2")[1]["variables"])
        # Nothing of the script before stands in the reply to one that does not even begin.
        reply = self.service.post("/script", "print (")[1]
        self.assertEqual((reply["variables"], reply["output"]), ({}, ""))
        self.assertTrue(reply["error"].startswith("request:1:8: error: "), reply["error"])

    def test_each_begins_without_an_open_file(self):
        first = self.service.post(
            "/script", 'GET_TEMP_FILENAME\nFWRITE open file:(filename)\nFWRITE text:"one"')[1]
        self.assertEqual((first["error"], first["variables"]["ecode"]), (None, 0))
        name = json.dumps(first["variables"]["filename"])
        second = self.service.post(
            "/script", f'FREAD file:{name}\nFWRITE close\na = ecode\nFWRITE file:{name} text:"two"\n'
                       f'b = ecode\nFDELETE file:{name}')[1]["variables"]
        self.assertEqual([second[key] for key in ("text", "a", "b")], ["one", 1, 0])

    def test_what_becomes_of_files_left_open(self):
        if on_windows:
            self.skipTest("paths of the test's folders")
        with tempfile.TemporaryDirectory() as folder:
            service = Service("--db", os.path.join(folder, "area"))
            self.addCleanup(service.stop)
            for end, is_stored in (("", True), ("exit 3", True), ("x = 1 / 0", False)):
                with self.subTest(end):
                    for name in (os.path.join(folder, "plain"), "db:\\\\name"):
                        service.post("/script", f'FWRITE file:"{name}" text:"before"')
                        service.post("/script", f'FWRITE open file:"{name}"\n'
                                                f'FWRITE text:"after"\n{end}')
                        read = service.post("/command", f'FREAD file:"{name}"')[1]["variables"]
                        expected = "after" if is_stored or "plain" in name else "before"
                        self.assertEqual(read["text"], expected, name)

    def test_each_begins_in_the_folder_of_the_service(self):
        before = self.service.post("/command", "GET_CWD")[1]["variables"]
        with tempfile.TemporaryDirectory() as folder:
            if not on_windows:
                self.service.post("/script", f'SET_CWD path:"{folder}"\nGET_CWD\nprint path')
        self.service.post("/script", 'SET_CWD path:".."\nx = missing')
        self.assertEqual(self.service.post("/command", "GET_CWD")[1]["variables"], before)

    def test_invalid_utf8_is_replaced(self):
        reply = self.service.post("/script", b'print "a\\xffb"')[1]
        self.assertEqual(reply["output"], "a\ufffdb\n")

    def test_any_content_type(self):
        for kind in ["text/plain", "application/json", "application/x-www-form-urlencoded"]:
            status, reply = self.service.post("/script", "x = 1", headers={"Content-Type": kind})
            self.assertEqual((status, reply["error"]), (200, None))

    def test_keep_alive_and_order(self):
        connection = http.client.HTTPConnection("127.0.0.1", self.service.port, timeout=10)
        for i in range(50):
            connection.request("POST", "/script", f"x = {i}",
                               {"X-Tavhost-Token": self.service.token})
            reply = json.loads(connection.getresponse().read())
            self.assertEqual(reply["variables"]["x"], i)
        connection.close()

    def test_pipelined_requests_are_answered_in_order(self):
        request = b""
        for i in range(5):
            body = f"x = {i}".encode()
            request += self.service.head("/script", extra=[f"Content-Length: {len(body)}"])
            request += b"\r\n" + body
        with socket.create_connection(("127.0.0.1", self.service.port), timeout=10) as connection:
            connection.sendall(request)
            received = b""
            while received.count(b'"error":null') < 5:
                piece = connection.recv(65536)
                self.assertTrue(piece, received)
                received += piece
        self.assertEqual(re.findall(rb'"x":(\d)', received), [b"0", b"1", b"2", b"3", b"4"])

    def test_chunked_body(self):
        request = (self.service.head("/script", extra=["Transfer-Encoding: chunked"]) +
                   b"\r\n5\r\nx = 1\r\n0\r\n\r\n")
        self.assertEqual(self.service.raw(request), 200)

    def test_expect_continue(self):
        with socket.create_connection(("127.0.0.1", self.service.port), timeout=10) as connection:
            connection.sendall(self.service.head(
                "/script", extra=["Content-Length: 5", "Expect: 100-continue"]) + b"\r\n")
            self.assertTrue(connection.recv(100).startswith(b"HTTP/1.1 100 "))
            connection.sendall(b"x = 1")
            self.assertTrue(connection.recv(1000).startswith(b"HTTP/1.1 200 "))

    def test_ipv6(self):
        try:
            connection = http.client.HTTPConnection("::1", self.service.port, timeout=10)
            connection.request("POST", "/command", "GET_DISPLAY_SIZE",
                               {"X-Tavhost-Token": self.service.token})
        except OSError:
            self.skipTest("no IPv6 on this machine")
        self.assertEqual(connection.getresponse().status, 200)
        connection.close()

    def test_crash_is_refused(self):
        reply = self.service.post("/command", "CRASH")[1]
        self.assertIn("CRASH: refused", reply["error"])
        reply = self.service.post("/script", 'EXECUTE "CRASH"\nprint "alive"')[1]
        self.assertEqual(reply["output"], "alive\n")
        self.assertIn("refused", self.service.post("/script", "CRASH")[1]["error"])

    def test_hundred_clients_at_once(self):
        def one(i):
            return self.service.post("/script", f"x = {i}")[1]["variables"]["x"]
        with concurrent.futures.ThreadPoolExecutor(50) as pool:
            self.assertEqual(list(pool.map(one, range(100))), list(range(100)))


class Protection(Case):
    def status(self, request):
        return self.service.raw(request)

    def request(self, body=b"GET_DISPLAY_SIZE", **options):
        extra = [*options.pop("extra", []), f"Content-Length: {len(body)}"]
        return self.service.head(extra=extra, **options) + b"\r\n" + body

    def test_token(self):
        good = self.service.token
        self.assertRegex(good, r"^[0-9a-f]{32}$")
        self.assertEqual(self.status(self.request()), 200)
        for wrong in ["x", good[:-1], good + "0", good.upper() + " ", "0" * 32]:
            self.assertEqual(self.status(self.request(token=wrong)), 401)
        without = self.request().replace(b"X-Tavhost-Token: " + good.encode() + b"\r\n", b"")
        self.assertEqual(self.status(without), 401)
        self.assertEqual(self.status(self.request(extra=["X-Tavhost-Token: " + good])), 401)

    @unittest.skipIf(os.name == "nt", "modes")
    def test_token_file_is_private(self):
        if on_windows:
            self.skipTest("the system's access lists protect it")
        self.assertEqual(stat.S_IMODE(os.stat(self.service.token_file).st_mode), 0o600)
        folder = os.path.dirname(self.service.token_file)
        self.assertEqual(stat.S_IMODE(os.stat(folder).st_mode), 0o700)

    def test_host(self):
        port = self.service.port
        for good in ["localhost", f"localhost:{port}", f"127.0.0.1:{port}", f"[::1]:{port}"]:
            self.assertEqual(self.status(self.request(host=good)), 200, good)
        for bad in ["example.com", f"example.com:{port}", "127.0.0.1:1", "127.0.0.1.example.com", ""]:
            request = self.request(host=bad or " ")
            self.assertEqual(self.status(request), 403, bad)

    def test_a_request_has_one_host(self):
        for request, reason in [
                (self.request(extra=["Host: localhost"]), b"the request names more than one host"),
                (self.request().replace(b"Host: ", b"X-Host: "),
                 b"the request does not name its host")]:
            with socket.create_connection(("127.0.0.1", self.service.port), timeout=5) as client:
                client.sendall(request)
                reply = client.recv(65536)
            self.assertTrue(reply.startswith(b"HTTP/1.1 400 "), reply)
            self.assertIn(reason, reply)

    def test_origin(self):
        for bad in ["https://example.com", "null", "http://localhost", "http://127.0.0.1:1"]:
            self.assertEqual(self.status(self.request(extra=["Origin: " + bad])), 403, bad)
        own = f"http://127.0.0.1:{self.service.port}"
        self.assertEqual(self.status(self.request(extra=["Origin: " + own])), 200)
        self.assertEqual(self.status(self.request(extra=["Origin: " + own] * 2)), 403)

    def test_methods_and_paths(self):
        for method in ["GET", "PUT", "DELETE", "OPTIONS", "HEAD", "BREW"]:
            self.assertEqual(self.status(self.request(method=method)), 405, method)
        for path in ["/", "/other", "/script/", "/commander?x=1"]:
            status, reply = self.service.post(path, "")
            self.assertEqual((status, reply["error"]), (
                404, "there are /script, /command, /answer, /cancel and /status"), path)
        for path in ["/command?x=1", "/script?", "/status?x"]:
            status, reply = self.service.post(path, "GET_CWD")
            self.assertEqual((status, reply["error"]), (
                404, "a path takes no ? and nothing behind it"), path)
        self.assertEqual(self.status(self.request(path="/status")), 405)
        self.assertEqual(self.status(self.request(path="/cancel", method="GET")), 405)

    def test_too_long(self):
        limit = 8 * 1024 * 1024
        self.assertEqual(self.status(self.service.head(
            extra=[f"Content-Length: {limit + 1}"]) + b"\r\n"), 413)
        status, reply = self.service.post("/script", b"#" * limit)
        self.assertEqual((status, reply["error"]), (200, None))
        chunk = b"%x\r\n" % 65536 + b"#" * 65536 + b"\r\n"
        with socket.create_connection(("127.0.0.1", self.service.port), timeout=10) as connection:
            connection.sendall(self.service.head(extra=["Transfer-Encoding: chunked"]) + b"\r\n")
            try:
                for _ in range(140):
                    connection.sendall(chunk)
            except ConnectionError:
                pass
            try:
                self.assertIn(b" 413 ", connection.recv(1000))
            except ConnectionError:
                pass  # closed before the answer could be read
        self.assertAlive()

    def test_header_limits(self):
        limit = 16 * 1024
        room = limit - len(self.request(b"", extra=["X-Filler: "]))
        for size, status in ((room, 200), (room + 1, 431), (20000, 431)):
            extra = ["X-Filler: " + "x" * size]
            self.assertEqual(self.status(self.request(b"", extra=extra)), status)
        many = [f"X-{i}: y" for i in range(101)]
        self.assertEqual(self.status(self.request(extra=many)), 431)
        self.assertEqual(self.status(self.request(extra=many[:90])), 200)

    def test_smuggling(self):
        body = b"GET_DISPLAY_SIZE"
        length = f"Content-Length: {len(body)}"
        for extra in [["Transfer-Encoding: chunked", length], [length, "Content-Length: 5"],
                      [length, length], [f"{length}, {len(body)}"], ["Transfer-Encoding: identity"],
                      ["Transfer-Encoding: chunked, identity"], ["Transfer-Encoding: xchunked"],
                      ["Transfer-Encoding: chunked", "Transfer-Encoding: chunked"],
                      ["Content-Length: -1"], ["Content-Length: 1x"], ["Content-Length: +16"],
                      ["Transfer-Encoding : chunked"], ["X-Folded: a", " b", length], ["Bad\x00Name: 1", length]]:
            with self.subTest(extra):
                request = self.service.head(extra=extra) + b"\r\n" + body
                self.assertIn(self.status(request), (400, None))
        self.assertAlive()

    def test_garbage(self):
        for request in [b"\x00" * 100, b"GET\r\n\r\n", b"\r\n" * 50, b"POST / HTTP/9.9\r\n\r\n",
                        bytes(range(256)), b"\x16\x03\x01\x02\x00\x01\x00"]:
            self.assertIn(self.service.raw(request, timeout=2), (400, 403, 505, None))
        self.assertAlive()

    def test_slow_clients_keep_nobody_out(self):
        slow = []
        for _ in range(200):
            try:
                connection = socket.create_connection(("127.0.0.1", self.service.port), timeout=5)
                connection.sendall(b"POST /script HTTP/1.1\r\nHost: ")
                slow.append(connection)
            except OSError:
                pass
        begin = time.monotonic()
        self.assertAlive()
        self.assertLess(time.monotonic() - begin, 5)
        for connection in slow:
            connection.close()

    def test_slow_header_ends(self):
        with socket.create_connection(("127.0.0.1", self.service.port), timeout=20) as connection:
            connection.sendall(b"POST /script HTTP/1.1\r\n")
            begin = time.monotonic()
            self.assertEqual(connection.recv(100), b"")
            self.assertTrue(8 < time.monotonic() - begin < 15)


class Addresses(unittest.TestCase):
    """`tavhost serve --address`: the addresses that are named, here of loopback too."""

    @classmethod
    def setUpClass(cls):
        cls.service = Service("--address", "127.0.0.2", "--address=127.0.0.3",
                              "--address", "127.0.0.2")
        cls.addClassCleanup(cls.service.stop)

    def status(self, host, address="127.0.0.2", origin=None):
        body = b"GET_DISPLAY_SIZE"
        extra = [f"Content-Length: {len(body)}", *([f"Origin: {origin}"] if origin else [])]
        return self.service.raw(self.service.head(host=host, extra=extra) + b"\r\n" + body,
                                host=address)

    def test_each_answers(self):
        self.assertEqual(self.service.hosts, ["127.0.0.2", "127.0.0.3"])
        for address in self.service.hosts:
            status, reply = self.service.post("/command", "GET_DISPLAY_SIZE", host=address)
            self.assertEqual((status, reply["error"]), (200, None))

    def test_others_do_not_listen(self):
        for address in ["127.0.0.1", "127.0.0.4"]:
            with self.assertRaises(ConnectionRefusedError):
                self.service.post("/command", "GET_DISPLAY_SIZE", host=address)

    def test_host(self):
        port = self.service.port
        for good in ["127.0.0.2", f"127.0.0.2:{port}", f"127.0.0.3:{port}", f"localhost:{port}"]:
            self.assertEqual(self.status(good), 200, good)
        for bad in [f"127.0.0.4:{port}", "example.com", f"127.0.0.2.example.com:{port}",
                    "127.0.0.2:1"]:
            for address in self.service.hosts:
                self.assertEqual(self.status(bad, address), 403, bad)

    def test_origin(self):
        port = self.service.port
        own = f"http://127.0.0.3:{port}"
        self.assertEqual(self.status(f"127.0.0.2:{port}", origin=own), 200)
        for bad in [f"http://127.0.0.4:{port}", "http://127.0.0.3", f"https://127.0.0.3:{port}"]:
            self.assertEqual(self.status(f"127.0.0.2:{port}", origin=bad), 403, bad)

    def test_the_token_counts_everywhere(self):
        for address in self.service.hosts:
            self.assertEqual(self.service.post("/command", "BEEP", token="0" * 32,
                                               host=address)[0], 401)

    def test_loopback_is_not_warned_of(self):
        service = Service("--address", "127.0.0.2")
        service.stop()
        self.assertEqual(service.errors, [])

    def test_ipv6(self):
        try:
            socket.create_server(("::1", 0), family=socket.AF_INET6).close()
        except OSError:
            self.skipTest("no IPv6 on this machine")
        service = Service("--address", "0:0:0:0:0:0:0:1")
        self.addCleanup(service.stop)
        self.assertEqual(service.hosts, ["[::1]"])
        self.assertEqual(service.post("/command", "GET_DISPLAY_SIZE", host="::1")[0], 200)

    def failure(self, *options):
        done = wine.run([*program, "serve", *options], timeout=60, stdin=subprocess.DEVNULL)
        self.assertEqual((done.returncode, done.stdout), (1, b""))
        return done.stderr.decode().splitlines()

    def test_an_address_of_another_machine(self):
        """It is warned of before anything listens; 192.0.2.1 belongs to no machine."""
        warning, failure = self.failure("--address", "192.0.2.1", "--address", "127.0.0.2")
        self.assertEqual(warning, "tavhost: warning: other machines reach the service at "
                         "192.0.2.1; nothing is encrypted, and who reads the token can do all "
                         "that you can")
        self.assertRegex(failure, "^script service: port 0: 192.0.2.1: .")

    def test_the_address_is_named(self):
        _, failure = self.failure("--address", "192.0.2.1")
        self.assertRegex(failure, "^script service: port 0: 192.0.2.1: .")

    def test_services_on_the_same_port_have_a_token_each(self):
        if on_windows:
            self.skipTest("the tests listen at other loopback addresses on Linux only")
        first = Service("--quiet")
        self.addCleanup(first.stop)
        second = Service("--quiet", "--address", "127.0.0.2", "--port", str(first.port))
        self.addCleanup(second.stop)
        self.assertTrue(first.token_file.endswith(f"/token-{first.port}"), first.token_file)
        self.assertTrue(second.token_file.endswith(f"/token-127.0.0.2-{first.port}"))
        self.assertEqual(first.post("/script", "print 1")[0], 200)
        second.stop()
        self.assertEqual(first.post("/script", "print 1", token=first.token)[0], 200)

    def test_an_ipv4_address_in_the_form_of_ipv6(self):
        service = Service("--address", "::ffff:127.0.0.2")
        self.addCleanup(service.stop)
        self.assertEqual((service.hosts, service.errors), (["127.0.0.2"], []))

    def test_each_must_be_had(self):
        with socket.create_server(("127.0.0.3", 0)) as taken:
            port = taken.getsockname()[1]
            failure, = self.failure("--port", str(port), "--address", "127.0.0.2",
                                    "--address", "127.0.0.3")
        self.assertRegex(failure, f"^script service: port {port}: 127.0.0.3: .")


class Crashes(unittest.TestCase):
    def test_a_crash_that_is_allowed_ends_the_service(self):
        service = Service("--allow-crash", environment=sanitizers.environment_for_faults())
        self.addCleanup(service.stop)
        length = ["Content-Length: 5"]
        self.assertIsNone(service.raw(service.head(extra=length) + b"\r\nCRASH", timeout=20))
        self.assertNotIn(service.process.wait(timeout=20), (0, 1, 130))
        self.assertFalse(os.path.exists(service.token_path))

    def test_it_ends_at_once_when_nothing_goes_on(self):
        if on_windows:
            self.skipTest("a program takes its time to end there")
        times = []
        for _ in range(3):
            service = Service()
            self.addCleanup(service.stop)
            self.assertEqual(service.post("/script", "print 1")[0], 200)
            begin = time.monotonic()
            service.process.send_signal(signal.SIGINT)
            self.assertEqual(service.process.wait(timeout=10), 130)
            times.append(time.monotonic() - begin)
        # Time is what is tested: clients that take no reply would be waited for 0.7 s.
        self.assertLess(min(times), 0.4)

    def test_replies_under_way_are_sent_to_their_end(self):
        for how in ("SIGTERM", "SERVICE stop"):
            service = Service("--quiet")
            self.addCleanup(service.stop)
            with service.sent('x = "abcdefgh"\nwhile len(x) < 30000000 { x = x + x }') as client:
                received = client.recv(1 << 16)
                begin = time.monotonic()
                if how == "SERVICE stop":
                    self.assertEqual(service.post("/command", how)[1]["error"], None)
                elif on_windows:
                    continue  # there are no such signals
                else:
                    service.process.send_signal(signal.SIGTERM)
                length = int(re.search(rb"Content-Length: (\d+)", received)[1])
                head = received.index(b"\r\n\r\n") + 4
                count = len(received) - head
                while piece := client.recv(1 << 18):
                    count += len(piece)
                    time.sleep(0.01)  # as fast as a network of 25 MB a second
            self.assertEqual(count, length, how)
            self.assertLess(time.monotonic() - begin, 10)
            self.assertEqual(service.process.wait(timeout=5), 143 if how == "SIGTERM" else 0)

    def test_a_reply_that_is_not_read_holds_no_end_and_is_in_the_log(self):
        service = Service()
        self.addCleanup(service.stop)
        with service.sent('x = "abcdefgh"\nwhile len(x) < 30000000 { x = x + x }') as client:
            client.recv(1)
            begin = time.monotonic()
            service.process.send_signal(signal.SIGINT)
            self.assertEqual(service.process.wait(timeout=10), 130)
            self.assertLess(time.monotonic() - begin, 3)
        service.stop()
        self.assertRegex(b"".join(service.errors),
                         rb"POST /script 200 [0-9.]+ ms cut off at \d+ of 335\d{5} bytes")

    def test_waiting_clients_hold_no_end(self):
        service = Service()
        self.addCleanup(service.stop)
        clients = [service.sent("while 1 { SLEEP ms:10 }") for _ in range(4)]
        waiting.until_at_work(service.process)
        begin = time.monotonic()
        service.process.send_signal(signal.SIGINT)
        self.assertEqual(service.process.wait(timeout=10), 130)
        self.assertLess(time.monotonic() - begin, 1)
        for client in clients:
            client.close()


class Limits(unittest.TestCase):
    """What one reply may take."""

    LIMIT = 1 << 20
    TEXT = "the reply is longer than 1 MiB"

    def setUp(self):
        self.service = Service("--reply-limit", "1")
        self.addCleanup(self.service.stop)

    def run_script(self, text):
        status, reply = self.service.post("/script", text)
        self.assertEqual(status, 200)
        return reply

    def goes_on(self):
        self.assertEqual(self.run_script("print 1")["output"], "1\n")

    def test_a_reply_that_just_fits(self):
        empty = len(json.dumps({"variables": {"n": 1000000, "t": "", "args": []}, **WELL,
                                "output": "\n"}, separators=(",", ":")))
        grow = 't = "x"\nwhile len(t) < n { t = t + t }\nt = slice(t, 0, n)\nprint "" '
        for size, fits in ((self.LIMIT - empty, True), (self.LIMIT - empty + 1, False)):
            self.assertEqual(len(str(size)), 7)
            reply = self.run_script(f"n = {size}\n" + grow)
            self.assertEqual(reply["error"], None if fits else self.TEXT)
            self.assertEqual(len(reply["variables"].get("t", "")), size if fits else 0)
        self.goes_on()

    def test_printing_without_end(self):
        script = 't = "0123456789"\nwhile 1 {\n  print t\n}'
        reply = self.run_script(script)
        self.assertEqual(reply["error"], f"request:3:3: error: {self.TEXT}")
        self.assertEqual((reply["variables"], reply["output"]), ({}, ""))
        reply = self.run_script(f"try {{ {script} }} catch e {{ m = e.message }}\nx = 1")
        self.assertEqual(reply["error"], self.TEXT)
        self.goes_on()

    def test_a_list_that_holds_itself_over_and_over(self):
        begin = time.monotonic()
        reply = self.run_script("a = (1, 2)\nfor i from 1 to 60 { a = (a, a) }")
        self.assertEqual((reply["error"], reply["variables"]), (self.TEXT, {}))
        self.assertLess(time.monotonic() - begin, 5)
        self.goes_on()

    def test_why_a_script_ended_is_told_without_its_variables(self):
        grow = 'print "so far"\nt = "x"\nfor i from 1 to 21 { t = t + t }\n'
        for end, error, code, line in [
                ("", self.TEXT, None, None),
                ("exit 7", self.TEXT, 7, None),
                ("exit 256", self.TEXT, 256, None),  # it ends no program
                ("throw 2", "request:4:1: error: 2", None, 4),
                ("SLEEP", "request:4:1: error: SLEEP: ", None, 4),
                ('INFOBOX "?"', "request:4: ", None, 4)]:
            reply = self.run_script(grow + end)
            self.assertEqual((reply["error"] or "")[:len(error)], error, end)
            self.assertEqual((reply["exit"], (reply["errorAt"] or {}).get("line")), (code, line), end)
            self.assertEqual((reply["variables"], reply["leftOut"], reply["output"]),
                             ({}, ["variables"], "so far\n"), end)
        self.goes_on()

    def test_output_that_does_not_fit_is_left_out_too(self):
        for script in ('t = "\\x01"\nfor i from 1 to 19 { t = t + t }\nprint t\nexit 7',
                       't = "x"\nfor i from 1 to 21 { t = t + t }\nprint t\nexit 7'):
            reply = self.run_script(script)
            self.assertEqual((reply["variables"], reply["output"], reply["leftOut"]),
                             ({}, "", ["variables", "output"]))
            self.assertIn(self.TEXT, reply["error"])
        self.goes_on()

    def test_a_command(self):
        here = mark(self)
        self.run_script('t = "x"\nfor i from 1 to 21 { t = t + t }\n'
                        f'FWRITE file:"{here.path}" text:(t) -> t')
        reply = self.service.post("/command", f'FREAD file:"{here.path}"')[1]
        self.assertEqual((reply["error"], reply["variables"]), (self.TEXT, {}))
        self.goes_on()

    def test_memory_in_proportion(self):
        if on_windows or sanitizers.are_in_use():
            self.skipTest("the system tells the memory of its own programs")

        def most_memory():
            with open(f"/proc/{self.service.process.pid}/status") as file:
                return int(re.search(r"VmHWM:\s*(\d+) kB", file.read())[1]) << 10

        self.run_script("print 1")
        before = most_memory()
        self.run_script('t = "0123456789"\nwhile 1 { try { print t, t, t } catch e { break } }')
        self.run_script("a = (1, 2)\nfor i from 1 to 60 { a = (a, a) }")
        self.assertLess(most_memory() - before, 16 * self.LIMIT)


class Memory(unittest.TestCase):
    """A script that asks for much memory, or more than there is."""

    def test_what_a_request_took_goes_back(self):
        if on_windows or sanitizers.are_in_use():
            self.skipTest("the system tells the memory of its own programs")
        service = Service("--quiet")
        self.addCleanup(service.stop)

        def resident():
            with open(f"/proc/{service.process.pid}/status") as file:
                return int(re.search(r"VmRSS:\s*(\d+) kB", file.read())[1]) >> 10

        service.post("/script", "print 1")
        before = resident()
        for script in ('x = "abcdefgh"\nwhile len(x) < 250000000 { x = x + x }',
                       'x = ()\nfor i from 1 to 1000000 { push(x, "text " + i) }\nx = 0'):
            self.assertEqual(service.post("/script", script)[0], 200)
            self.assertEqual(service.post("/script", "print 1")[1]["output"], "1\n")
            waiting.until(lambda: resident() < before + 40, "the memory has gone back", 5)

    def test_the_service_goes_on(self):
        if on_windows or sanitizers.are_in_use():
            self.skipTest("the system limits the address space of its own programs")
        import resource
        service = Service(preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS,
                                                                (1 << 29, 1 << 29)))
        self.addCleanup(service.stop)
        for _ in range(3):
            reply = service.post("/script", "x = 1\ny = range(200000000)")[1]
            self.assertEqual(reply["error"], "request:2:5: error: out of memory")
            reply = service.post("/script", "func fill() {\n  l = ()\n  while 1 { push(l, (1, 2)) }\n"
                                 "}\nfill()")[1]
            self.assertRegex(reply["error"], r"^request:3:\d+: error: out of memory$")
            reply = service.post("/script", "l = ()\nwhile 1 { push(l, (1, 2)) }")[1]
            self.assertRegex(reply["error"], "out of memory$")
            reply = service.post("/script", "print 1")[1]
            self.assertEqual((reply["output"], reply["error"]), ("1\n", None))


class Order(unittest.TestCase):
    def setUp(self):
        self.service = Service()
        self.addCleanup(self.service.stop)

    def test_one_at_a_time(self):
        here = mark(self)
        with concurrent.futures.ThreadPoolExecutor(2) as pool:
            first = pool.submit(self.service.post, "/script",
                                here.command + "SLEEP ms:700\nx = now()")
            here.wait()
            begin = time.monotonic()
            second = pool.submit(self.service.post, "/script", "x = now()")
            done_first = first.result()[1]["variables"]["x"]
            done_second = second.result()[1]["variables"]["x"]
            self.assertGreater(time.monotonic() - begin, 0.3)
        self.assertLessEqual(done_first, done_second)

    def test_a_client_that_leaves_stops_its_script(self):
        here = mark(self)
        connection = self.service.sent(here.command + "while 1 { }")
        here.wait()
        connection.close()
        begin = time.monotonic()
        status, reply = self.service.post("/script", "x = 1")
        self.assertEqual((status, reply["error"]), (200, None))
        self.assertLess(time.monotonic() - begin, 2)

    def test_a_request_whose_client_left_is_in_the_log(self):
        here = mark(self)
        with self.service.sent(here.command + "while 1 { }"):
            here.wait()
            with self.service.sent("x = 1"):  # waits behind it
                self.assertTrue(self.service.has_taken_all())
        left = rb"POST /script - [0-9.]+ ms the client left"
        waiting.until(lambda: len(re.findall(left, b"".join(self.service.errors))) == 2,
                      "both are in the log")
        self.assertEqual(self.service.post("/script", "x = 1")[0], 200)
        self.service.stop()
        self.assertEqual(len(re.findall(left, b"".join(self.service.errors))), 2)

    def test_clients_that_leave_while_they_wait_keep_nobody_out(self):
        running = self.service.sent("while 1 { }")
        self.addCleanup(running.close)
        # More than there may be connections, and more than may wait.
        for _ in range(120):
            with self.service.sent("x = 1"):
                self.assertTrue(self.service.has_taken_all())

        def waits():
            """A request that is not refused for want of a place, once there is one."""
            connection = self.service.sent("x = 1")
            self.assertTrue(self.service.has_taken_all())
            if not select.select([connection], [], [], 0)[0]:
                return connection
            connection.close()
            return None

        with waiting.until(waits, "those that left have given up their places") as connection:
            running.close()
            self.assertTrue(connection.recv(65536).startswith(b"HTTP/1.1 200 "))

    def test_stop_from_a_request(self):
        reply = self.service.post("/command", "SERVICE stop")[1]
        self.assertEqual(reply, {"variables": {"ecode": 0}, **WELL})
        self.assertEqual(self.service.process.wait(timeout=5), 0)
        self.assertFalse(os.path.exists(self.service.token_path))

    def test_interrupt(self):
        path = self.service.token_path
        self.service.process.send_signal(signal.SIGINT)
        self.assertEqual(self.service.process.wait(timeout=5), 130)
        self.assertFalse(os.path.exists(path))

    def test_interrupt_during_a_script(self):
        here = mark(self)
        with self.service.sent(here.command + "while 1 { }"):
            here.wait()
            self.service.process.send_signal(signal.SIGINT)
            self.assertEqual(self.service.process.wait(timeout=5), 130)

    def test_the_time_limit_during_a_script(self):
        service = Service("--timeout", "1")
        self.addCleanup(service.stop)
        reply = service.post("/script", "x = 1\nwhile 1 { }")[1]
        self.assertEqual(reply["error"], "the script was stopped at line 2: the time limit of the "
                                         "whole service is over")
        self.assertEqual(service.process.wait(timeout=5), 124)
        self.assertFalse(os.path.exists(service.token_path))

    def test_the_time_limit_between_scripts(self):
        service = Service("--timeout", "0.3")
        self.addCleanup(service.stop)
        self.assertEqual(service.process.wait(timeout=5), 124)

    def test_log_holds_no_secrets(self):
        self.service.post("/script", "x = 1")
        self.service.raw(self.service.head("/a\x7f\x1b[31m", extra=["Content-Length: 0"]) + b"\r\n")
        waiting.until(lambda: len(self.service.errors) >= 2, "both requests are in the log")
        token = self.service.token
        self.service.stop()
        log = b"".join(self.service.errors)
        self.assertIn(b"POST /script 200", log)
        self.assertNotIn(token.encode(), log)
        self.assertNotIn(b"\x1b", log)


class Dialogs(Case):
    """Dialogs that the client of a request answers."""

    def ask(self, text, path="/script", seconds=20):
        return self.service.post(path, text, headers={"X-Tavhost-Dialogs": f"ask {seconds}"})[1]

    def answer(self, reply, text, **more):
        return self.service.post("/answer", text, headers={
            "X-Tavhost-Question": reply["question"]["id"]}, **more)

    def finish(self, reply, text):
        status, final = self.answer(reply, text)
        self.assertEqual((status, final["error"]), (200, None))
        self.assertNotIn("question", final)
        return final

    def test_message_box(self):
        reply = self.ask('print "before"\nQUERYBOX "Go on?" yes-no-cancel def-no\nprint endbutton')
        question = reply.pop("question")
        self.assertEqual(reply, {"variables": {}, **WELL, "output": "before\n"})
        identifier = question.pop("id")
        self.assertRegex(identifier, "^[0-9a-f]{32}$")
        self.assertEqual(question, {
            "window": "MESSAGE_BOX", "title": "Question", "kind": "query", "text": "Go on?",
            "buttons": [{"name": "yes", "label": "Yes"}, {"name": "no", "label": "No"},
                        {"name": "cancel", "label": "Cancel"}],
            "default": "no", "answer": "MESSAGE_BOX button:no"})
        self.service.post("/answer", "MESSAGE_BOX", headers={"X-Tavhost-Question": identifier})

    def test_the_default_is_the_button_of_the_answer(self):
        reply = self.ask('TLB_CREATE title:"T" okbutton-enabled:1\n'
                         'TLB_ADD_BUTTON text:"More" name:"more" index:1\nTLB_SHOW')
        question = reply["question"]
        self.assertEqual(question["buttons"][0]["name"], "more")
        self.assertEqual(question["default"], "ok")
        self.assertIn("button:ok", question["answer"])
        self.assertEqual(self.finish(reply, question["answer"])["variables"]["endbutton"], "ok")

    def test_every_kind(self):
        table = 'content:"Name;Mass\\nPiston;2.5"'
        cases = [
            ('INFOBOX "é"', "MESSAGE_BOX", {"text": "é", "kind": "info"}, "MESSAGE_BOX", {}),
            ('VIEWBOX text:"long"', "VIEW_BOX", {"text": "long"}, "VIEW_BOX", {}),
            ('EDITBOX text:"a"', "EDIT_BOX", {"text": "a"}, 'EDIT_BOX text:"b"', {"text": "b"}),
            ('EDITFIELD caption:"Name" text:"a"', "EDIT_FIELD", {"caption": "Name", "text": "a"},
             'EDIT_FIELD text:"Ada"', {"text": "Ada"}),
            ('LISTBOX entries:"a b c"', "LIST_BOX",
             {"entries": ["a", "b", "c"], "multiple": False}, 'LIST_BOX select:"c"',
             {"endbutton": "ok"}),
            ('FILE_DIALOG open', "FILE_DIALOG", {"save": False}, 'FILE_DIALOG path:"x.txt"', {}),
            ('DIRECTORY_DIALOG', "DIRECTORY_DIALOG", {}, 'DIRECTORY_DIALOG path:"here"', {}),
            ('IMAGE_PREVIEW_DLG', "IMAGE_DIALOG", {"path": ""}, 'IMAGE_DIALOG path:"a.png"',
             {"files": "db:\\a.png"}),
            ('TLB_CREATE title:"T"\nTLB_INSERT id:1 text:"top" is-parent:1\n'
             'TLB_INSERT id:2 parentid:1 text:"leaf"\nTLB_SHOW', "TREE_LIST_BOX",
             {"items": [{"id": 1, "parent": None, "text": "top", "selectable": True,
                         "selected": False},
                        {"id": 2, "parent": 1, "text": "leaf", "selectable": True,
                         "selected": False}]}, "TREE_LIST_BOX select:(2)", {"endbutton": "ok"}),
            (f"BROWSER {table}", "BROWSER",
             {"columns": ["Name", "Mass"], "rows": [["Piston", "2.5"]], "row-count": 1},
             "BROWSER", {"ecode": 0}),
            (f"EDIT_BROWSER {table}", "EDIT_BROWSER", {"rows": [["Piston", "2.5"]]},
             'EDIT_BROWSER cells:{ CELL row:1 column:2 text:"2.6" }',
             {"text": "Name;Mass\nPiston;2.6"}),
        ]
        for text, window, shown, answer, results in cases:
            with self.subTest(window):
                reply = self.ask(text)
                self.assertIsNone(reply["error"])
                question = reply["question"]
                self.assertEqual(question["window"], window)
                self.assertEqual({**question, **shown}, question)
                self.assertTrue(question["answer"].startswith(window))
                variables = self.finish(reply, answer)["variables"]
                self.assertEqual({**variables, **results}, variables)

    def test_an_answer_that_does_not_fit_leaves_the_question_open(self):
        reply = self.ask('QUERYBOX "?" yes-no\nprint endbutton')
        for wrong, wanted in [
                ("MESSAGE_BOX button:ok", "there is no button ok; there are: yes, no"),
                ("LIST_BOX", "LIST_BOX does not answer a MESSAGE_BOX"),
                ("MESSAGE_BOX button:(", "answer:1:"), ("NOTHING", "there is no window NOTHING"),
                ("", "one element answers a window"),
                ("MESSAGE_BOX; MESSAGE_BOX", "one element answers a window")]:
            with self.subTest(wrong):
                status, refusal = self.answer(reply, wrong)
                self.assertEqual(status, 400)
                self.assertIn(wanted, refusal["error"])
                self.assertNotIn("cancel", refusal["error"])  # which was not offered
        self.assertEqual(self.finish(reply, "MESSAGE_BOX button:no")["output"], "no\n")

    def test_an_answer_says_what_a_person_could_do(self):
        tree = ('TLB_CREATE\nTLB_INSERT id:1 text:"a"\n'
                'TLB_ADD_BUTTON text:"D" name:"d" disable_if_no_selection:1\nTLB_SHOW')
        for script, wrong, message, right in [
                (tree, "TREE_LIST_BOX",
                 "request:4: the button ok cannot be pressed while nothing is selected",
                 "TREE_LIST_BOX select:1"),
                (tree, "TREE_LIST_BOX button:d",
                 "request:4: the button d cannot be pressed while nothing is selected",
                 "TREE_LIST_BOX button:cancel"),
                (r'EDIT_BROWSER content:"a\n1" no-special-buttons',
                 "EDIT_BROWSER cells:{ SORT_ROWS column:1 }",
                 "request:1: the window has no command SORT_ROWS", "EDIT_BROWSER"),
                ("\nFILE_DIALOG open", 'FILE_DIALOG path:"a" button:cancel',
                 "request:2: nothing is chosen by cancel, so no path can stand beside it",
                 "FILE_DIALOG button:cancel"),
                ("FILE_DIALOG open", 'FILE_DIALOG path:"a" result:2',
                 "request:1: nothing is chosen by a result other than 1, so no path can stand "
                 "beside it", "FILE_DIALOG"),
                ("TLB_CREATE\nTLB_SHOW", "TREE_LIST_BOX result:1",
                 "request:2: the button ok cannot be pressed while nothing is selected",
                 "TREE_LIST_BOX result:0"),
                ('INFOBOX "a"', "MESSAGE_BOX result:65538",
                 "request:1: a window's result lies between -32768 and 32767",
                 "MESSAGE_BOX result:-1"),
                ("IMAGE_PREVIEW_DLG", "MESSAGE_BOX",
                 "request:1: MESSAGE_BOX does not answer an IMAGE_DIALOG", "IMAGE_DIALOG")]:
            with self.subTest(wrong):
                reply = self.ask(script)
                status, refusal = self.answer(reply, wrong)
                self.assertEqual((status, refusal["error"]), (400, message))
                self.assertIsNone(self.finish(reply, right)["error"])

    def test_the_proposed_answer_fits(self):
        reply = self.ask('TLB_CREATE\nTLB_INSERT id:1 text:"a"\nTLB_SHOW')
        self.assertEqual(reply["question"]["answer"],
                         'TREE_LIST_BOX title:"tavhost" button:cancel')
        self.assertEqual(self.finish(reply, reply["question"]["answer"])["variables"]["endbutton"],
                         "cancel")

    def test_the_proposed_answer_is_what_enter_confirms(self):
        reply = self.ask('FILE_DIALOG saveas path:"/x" filename:"report" default-ext:"txt"')
        proposed = reply["question"]["answer"]
        self.assertEqual(proposed.replace(r"\\", "/"),
                         'FILE_DIALOG path:"/x/report.txt" button:ok')
        variables = self.finish(reply, proposed)["variables"]
        self.assertEqual(variables["path"].replace("\\", "/"), "/x/report.txt")

    def test_greyed_buttons(self):
        reply = self.ask('TLB_CREATE\nTLB_INSERT id:1 text:"a"\n'
                         'TLB_ADD_BUTTON text:"D" name:"d" disable_if_no_selection:1\n'
                         'TLB_ADD_BUTTON text:"E" name:"d"\nTLB_SHOW')
        question = reply["question"]
        self.assertEqual(question["buttons"], [
            {"name": "ok", "label": "OK", "enabled": False}, {"name": "cancel", "label": "Cancel"},
            {"name": "d", "label": "D", "enabled": False}, {"name": "d#2", "label": "E"}])
        self.assertIsNone(question["default"])  # Enter presses nothing
        variables = self.finish(reply, 'TREE_LIST_BOX button:"d#2"')["variables"]
        self.assertEqual((variables["ecode"], variables["endbutton"]), (0, "d"))

    def test_who_may_answer(self):
        reply = self.ask('INFOBOX "?"')
        self.assertEqual(self.answer(reply, "MESSAGE_BOX", token="0" * 32)[0], 401)
        self.assertEqual(self.service.post("/answer", "MESSAGE_BOX")[0], 400)
        self.assertEqual(self.service.post("/answer", "MESSAGE_BOX", headers={
            "X-Tavhost-Question": "0" * 32})[0], 404)
        self.assertEqual(self.service.post("/answer", "MESSAGE_BOX", headers={
            "X-Tavhost-Question": ""})[0], 404)
        self.finish(reply, "MESSAGE_BOX")
        self.assertEqual(self.answer(reply, "MESSAGE_BOX")[0], 409)

    def test_the_header(self):
        for bad in ["yes", "ask 0", "ask 3601", "ask -1", "ask 5 5", "asking", ""]:
            with self.subTest(bad):
                self.assertEqual(self.service.post("/script", "x = 1", headers={
                    "X-Tavhost-Dialogs": bad})[0], 400)

    def test_questions_in_a_row_and_output(self):
        reply = self.ask('print 1\nINFOBOX "a"\nprint 2\nEDITFIELD caption:"b"\nprint text')
        first = reply["question"]["id"]
        status, reply = self.answer(reply, "MESSAGE_BOX")
        self.assertEqual((status, reply["output"]), (200, "1\n2\n"))
        self.assertEqual(reply["question"]["window"], "EDIT_FIELD")
        self.assertNotEqual(reply["question"]["id"], first)
        self.assertEqual(self.finish(reply, 'EDIT_FIELD text:"x"')["output"], "1\n2\nx\n")

    def test_a_command_asks_too(self):
        reply = self.ask('QUERYBOX "?" ok-cancel', path="/command")
        self.assertEqual(self.finish(reply, "MESSAGE_BOX button:cancel")["variables"],
                         {"endbutton": "cancel"})

    def test_without_the_header_nothing_asks(self):
        reply = self.service.post("/script", 'INFOBOX "?"')[1]
        self.assertTrue(reply["error"].startswith("request:1: "), reply)
        self.assertRegex(reply["error"], "for the window; this line answers it: MESSAGE_BOX button:ok$"
                         if not on_windows else "; this line answers it: MESSAGE_BOX button:ok$")
        self.assertEqual(reply["errorAt"]["line"], 1)
        self.assertNotIn("question", reply)

    def test_others_wait_for_the_answer(self):
        reply = self.ask('INFOBOX "?"\nprint "asked"')
        with self.service.sent("x = 1") as other:
            self.assertTrue(self.service.has_taken_all())
            # That nothing comes can only be seen for a time.
            self.assertEqual(select.select([other], [], [], 0.3)[0], [])
            self.assertEqual(self.finish(reply, "MESSAGE_BOX")["output"], "asked\n")
            self.assertIn(b'"x":1', other.recv(65536))

    def test_no_answer_in_time(self):
        begin = time.monotonic()
        reply = self.ask('INFOBOX "?"', seconds=1)
        self.assertAlive()  # behind it
        self.assertTrue(0.9 < time.monotonic() - begin < 6)
        status, late = self.answer(reply, "MESSAGE_BOX")
        self.assertEqual(status, 410)
        self.assertEqual(late["error"], "the window was not answered within 1 seconds; "
                                        "the script was stopped at line 1")

    def test_a_client_that_leaves_after_its_answer_stops_the_script(self):
        here = mark(self)
        reply = self.ask(f'INFOBOX "?"\n{here.command}while 1 {{ }}')
        connection = self.service.sent("MESSAGE_BOX", "/answer",
                                       ["X-Tavhost-Question: " + reply["question"]["id"]])
        here.wait()
        connection.close()
        begin = time.monotonic()
        self.assertAlive()
        self.assertLess(time.monotonic() - begin, 2)

    def test_the_service_ends_while_a_question_is_open(self):
        service = Service()
        self.addCleanup(service.stop)
        service.post("/script", 'INFOBOX "?"', headers={"X-Tavhost-Dialogs": "ask"})
        service.process.send_signal(signal.SIGINT)
        self.assertEqual(service.process.wait(timeout=5), 130)

    def test_a_script_that_stops_the_service_asks_no_more(self):
        service = Service()
        self.addCleanup(service.stop)
        reply = service.post("/script", 'SERVICE stop\nINFOBOX "?"\nprint "never"',
                             headers={"X-Tavhost-Dialogs": "ask"})[1]
        self.assertEqual((reply["output"], reply["error"]),
                         ("", "the service ended before the window was answered"))
        self.assertEqual(service.process.wait(timeout=5), 0)

    def test_a_service_that_a_script_started(self):
        with ScriptedService() as service:
            asked = service.post("/script", 'QUERYBOX "?" yes-no\nprint endbutton',
                                 **{"X-Tavhost-Dialogs": "ask"})[1]
            done = service.post("/answer", "MESSAGE_BOX button:no",
                                **{"X-Tavhost-Question": asked["question"]["id"]})[1]
            self.assertEqual(done["output"], "no\n")


class ScriptedService:
    """A service that a script has started with SERVICE; it ends with the block."""

    def __init__(self, parameters=""):
        self.parameters = parameters

    def __enter__(self):
        with contextlib.ExitStack() as stack:
            folder = stack.enter_context(tempfile.TemporaryDirectory())
            script = os.path.join(folder, "serve.tav")
            with open(script, "w") as file:
                file.write(f"SERVICE start port:(int(args[0])) {self.parameters}\nprint ecode\n")
            with socket.create_server(("127.0.0.1", 0)) as free:
                self.port = free.getsockname()[1]
            process = stack.enter_context(subprocess.Popen(
                [*program, "run", script, str(self.port)],
                env={**os.environ, "XDG_RUNTIME_DIR": folder},
                stdout=subprocess.PIPE, stderr=subprocess.DEVNULL))
            stack.callback(process.wait, 10)
            stack.callback(process.send_signal, signal.SIGINT)
            started = process.stdout.readline().strip()
            if started != b"0":
                raise AssertionError(f"the service did not start: {started}")
            with open(token_path(self.port, folder)) as file:
                self.token = file.read().strip()
            self.ended = stack.pop_all()
        return self

    def __exit__(self, *_):
        self.ended.close()

    def post(self, path, text, **headers):
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=20)
        connection.request("POST", path, text, {"X-Tavhost-Token": self.token, **headers})
        reply = connection.getresponse()
        body = json.loads(reply.read())
        connection.close()
        return reply.status, body


class FullQueue(unittest.TestCase):
    def test_busy(self):
        with ScriptedService("backlog:2") as service:
            # While its question is open this one runs: of all others two may wait.
            asked = service.post("/script", 'INFOBOX "?"', **{"X-Tavhost-Dialogs": "ask"})[1]
            with concurrent.futures.ThreadPoolExecutor(8) as pool:
                others = concurrent.futures.as_completed(
                    [pool.submit(service.post, "/script", "x = 1") for _ in range(8)])
                refused = [next(others).result()[0] for _ in range(6)]
                self.assertEqual(refused, [503] * 6)
                service.post("/answer", "MESSAGE_BOX",
                             **{"X-Tavhost-Question": asked["question"]["id"]})
                self.assertEqual([other.result()[0] for other in others], [200, 200])


class Commands(unittest.TestCase):
    """SERVICE as a command."""

    def send(self, *commands):
        done = wine.run([*program, "send", *commands], timeout=60, stdin=subprocess.DEVNULL)
        return done.stdout.decode().replace("\r\n", "\n").splitlines(), done.stderr.decode()

    def free_port(self):
        with socket.create_server(("127.0.0.1", 0)) as free:
            return free.getsockname()[1]

    def test_life(self):
        port = self.free_port()
        lines, errors = self.send("IS_SCRIPT_SERVICE_RUNNING", f"SERVICE start port:{port}",
                                  "IS_SCRIPT_SERVICE_RUNNING", f"SERVICE start port:{port}",
                                  "SERVICE stop", "IS_SCRIPT_SERVICE_RUNNING", "SERVICE stop",
                                  f"SERVICE start port:{port}", "SERVICE")
        self.assertEqual(lines, [" result:0", " ecode:0", " result:1", " ecode:1", " ecode:0",
                                 " result:0", " ecode:1", " ecode:0", " ecode:-1"])
        self.assertIn(f"port {port}: the service runs already", errors)

    def test_port_in_use(self):
        with socket.create_server(("127.0.0.1", 0)) as taken:
            port = taken.getsockname()[1]
            lines, errors = self.send(f"SERVICE start port:{port}")
        self.assertEqual(lines, [" ecode:1"])
        self.assertIn(f"port {port}: ", errors)

    def test_no_such_port(self):
        lines, errors = self.send("SERVICE start port:70000", "SERVICE start port:-1")
        self.assertEqual(lines, [" ecode:1", " ecode:1"])
        self.assertIn("port 70000: ", errors)

    def calls(self, parameters):
        _, errors = self.send("--trace", "-", "SERVICE " + parameters)
        return [line for line in errors.splitlines() if line.startswith("TavScriptService::")]

    def test_arguments(self):
        port = self.free_port()
        for parameters, wanted in [
                (f"start port:{port}", f"{port}, 100, 0, 3"),
                (f"start stop port:{port} backlog:7", f"{port}, 7, 0, 3"),
                (f"start port:{port} logformat:long output:textfield", f"{port}, 100, 1, 2"),
                (f'start port:{port} logformat:"long" output:"textfield"', f"{port}, 100, 1, 2"),
                (f"start port:{port} logformat:Long output:Textfield", f"{port}, 100, 0, 3"),
                ("start port:0", "0, 100, 0, 3")]:
            with self.subTest(parameters):
                self.assertEqual(self.calls(parameters),
                                 [f"TavScriptService::Start({wanted}, null, true) -> true"])
        self.assertTrue(self.calls("start")[0].startswith("TavScriptService::Start(80, 100, 0, 3"))

    def test_nothing_is_type_checked(self):
        port = self.free_port()
        _, errors = self.send("--trace", "-", f'SERVICE start port:{port} backlog:"many"')
        self.assertIn(f"TavScriptService::Start({port}, 0, 0, 3, null, true) -> true", errors)
        self.assertNotIn("Tav_IsInvalidKelParamType", errors)

    def test_a_request_never_runs_inside_another_scripts_sleep(self):
        port = self.free_port()
        with tempfile.TemporaryDirectory() as folder:
            script = os.path.join(folder, "outer.tav")
            up = waiting.Mark(folder)
            with open(script, "w") as file:
                file.write(f'SERVICE start port:{port}\n{up.command}mark = "outer"\n'
                           'SLEEP ms:800\nprint mark\nprint "end"\n')
            process = subprocess.Popen([*program, "run", script], stdout=subprocess.PIPE,
                                       stderr=subprocess.DEVNULL,
                                       env={**os.environ, "XDG_RUNTIME_DIR": folder})
            self.addCleanup(process.stdout.close)
            path = token_path(port, folder)
            up.wait()
            with open(path) as file:
                token = file.read().strip()
            connection = http.client.HTTPConnection("127.0.0.1", port, timeout=20)
            begin = time.monotonic()
            connection.request("POST", "/script", 'mark = "inner"\nSERVICE stop',
                               {"X-Tavhost-Token": token})
            reply = json.loads(connection.getresponse().read())
            connection.close()
            self.assertGreater(time.monotonic() - begin, 0.4)
            self.assertIsNone(reply["error"])
            self.assertEqual(process.stdout.read().decode().splitlines(), ["outer", "end"])
            self.assertEqual(process.wait(timeout=10), 0)


class Soak(unittest.TestCase):
    def test_many_clients_none_lost(self):
        service = Service()
        self.addCleanup(service.stop)
        token = service.token
        deadline = time.monotonic() + soak_seconds
        latencies = []

        def client(number):
            connection = http.client.HTTPConnection("127.0.0.1", service.port, timeout=30)
            count = 0
            while time.monotonic() < deadline:
                begin = time.monotonic()
                connection.request("POST", "/script", f"x = {number * 1000000 + count}",
                                   {"X-Tavhost-Token": token})
                reply = json.loads(connection.getresponse().read())
                latencies.append(time.monotonic() - begin)
                if reply["variables"] != {"x": number * 1000000 + count, "args": []}:
                    raise AssertionError(reply)
                count += 1
            connection.close()
            return count

        def resident():
            with open(f"/proc/{service.process.pid}/statm") as file:
                return int(file.read().split()[1]) * 4096

        with concurrent.futures.ThreadPoolExecutor(32) as pool:
            clients = [pool.submit(client, number) for number in range(32)]
            time.sleep(soak_seconds / 2)  # the time of the soak, halved by a look at the memory
            middle = resident()
            total = sum(each.result() for each in clients)
        self.assertEqual(total, len(latencies))
        self.assertGreater(total, 100)
        self.assertLess(resident(), middle + (16 << 20))


def main():
    global program, on_windows, soak_seconds
    parser = argparse.ArgumentParser()
    parser.add_argument("--tavhost")
    parser.add_argument("--wine", action="store_true")
    parser.add_argument("--seconds", type=int, default=soak_seconds, help="how long the soak takes")
    options, rest = parser.parse_known_args()
    soak_seconds = options.seconds
    folder = "build-windows/bin/tavhost.exe" if options.wine else "build/bin/tavhost"
    path = options.tavhost or os.path.join(ROOT, folder)
    on_windows = options.wine
    with wine.Wine(path) if options.wine else wine.Nothing() as machine:
        program = machine.command([path]) if machine else [path]
        os.environ.update(machine.environment() if machine else {})
        result = unittest.main(argv=[sys.argv[0], *rest], exit=False).result
    for what in sorted({reason for _, reason in result.skipped}):
        print(f"different here: {what}")
    sys.exit(not result.wasSuccessful())


if __name__ == "__main__":
    main()
