#!/usr/bin/python3
"""HTTP_REQUEST through the real host, against servers and proxies that others wrote.

usage: peers_test.py [--tavhost PROGRAM] [--all] [unittest arguments]

Without --all only h11 (python3-h11), a strict reader of requests, takes part. The others are what
`scripts/setup --network-tests` installs: nginx, haproxy, squid and tinyproxy, each a process with a
configuration of its own on loopback.
"""
import argparse
import gzip
import os
import shutil
import socket
import ssl
import subprocess
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
sys.path.insert(0, os.path.join(ROOT, "tests"))
import h11  # noqa: E402

import certificates  # noqa: E402
import waiting  # noqa: E402
from server import Server  # noqa: E402
from strict_peer import StrictServer  # noqa: E402

program = ""
with_all = False


def send(*commands, env=None):
    """The reply of each command."""
    done = subprocess.run([program, "send", *commands], capture_output=True, timeout=60, check=True,
                          stdin=subprocess.DEVNULL, env={**os.environ, "no_proxy": "", "NO_PROXY": "", **(env or {})})
    return done.stdout.decode(errors="surrogateescape").splitlines()


def ask(url, parameters=""):
    return f'HTTP_REQUEST "{url}" {parameters}'


def response(body, status=200, headers=()):
    return [h11.Response(status_code=status, headers=[("Content-Length", str(len(body))), *headers]),
            h11.Data(data=body), h11.EndOfMessage()]


def chunked(*pieces, trailer=()):
    return [h11.Response(status_code=200, headers=[("Transfer-Encoding", "chunked")]),
            *(h11.Data(data=piece) for piece in pieces), h11.EndOfMessage(headers=list(trailer))]


class Strict(unittest.TestCase):
    """What is sent follows the standard, and what follows the standard is understood."""

    ANSWERS = {
        "/text": response(b"text", headers=[("Content-Type", "text/plain")]),
        "/empty": response(b""),
        "/chunks": chunked(b"one ", b"two ", b"x" * 10000),
        "/trailer": chunked(b"text", trailer=[("Checksum", "0"), ("Location", "/text")]),
        "/interim": [h11.InformationalResponse(status_code=103, headers=[("Link", "</x>")]),
                     h11.InformationalResponse(status_code=102, headers=[]), *response(b"text")],
        "/no-content": [h11.Response(status_code=204, headers=[]), h11.EndOfMessage()],
        "/not-modified": [h11.Response(status_code=304, headers=[("ETag", '"x"')]),
                          h11.EndOfMessage()],
        "/head": [h11.Response(status_code=200, headers=[("Content-Length", "1000")]),
                  h11.EndOfMessage()],
        "/close": response(b"text", headers=[("Connection", "close")]),
        "/moved": response(b"", 301, [("Location", "/text?x=1")]),
        "/text?x=1": response(b"moved"),
        "/gzip": response(gzip.compress(b"packed"), headers=[("Content-Encoding", "gzip")]),
        "/caf%C3%A9?q=%F0%9F%98%80": response(b"text"),
    }

    def setUp(self):
        self.server = StrictServer(self.ANSWERS)
        self.addCleanup(self.server.close)

    def ask_all(self, *requests):
        replies = send(*(ask(self.server.url + path, more) for path, more in requests))
        self.assertEqual(self.server.faults, [])
        return replies

    def assertText(self, reply, text):
        self.assertTrue(reply.startswith(f' response:"{text}" header:"HTTP/1.1 '), reply)
        self.assertTrue(reply.endswith(" ecode:0"), reply)

    def test_answers(self):
        wanted = {"/text": "text", "/empty": "", "/chunks": "one two " + "x" * 10000,
                  "/trailer": "text", "/interim": "text", "/no-content": "", "/not-modified": "",
                  "/moved": "moved", "/gzip": "packed", "/nobody": ""}
        replies = self.ask_all(*((path, "") for path in wanted))
        for (path, text), reply in zip(wanted.items(), replies):
            with self.subTest(path):
                self.assertText(reply, text)
        self.assertNotIn("Checksum", replies[list(wanted).index("/trailer")])
        # All of that over one connection, which only holds when each end was found where it is.
        self.assertEqual(self.server.connections, 1)

    def test_a_connection_that_is_closed_is_not_used_again(self):
        replies = self.ask_all(("/close", ""), ("/text", ""), ("/text", ""))
        for reply in replies:
            self.assertText(reply, "text")
        self.assertEqual(self.server.connections, 2)

    def test_verbs(self):
        verbs = ["GET", "POST", "PUT", "PATCH", "DELETE", "OPTIONS", "PROPFIND", "get", "!#$%&'*+-.^_`|~"]
        for reply in self.ask_all(*(("/text", f'verb:"{verb}"') for verb in verbs)):
            self.assertText(reply, "text")
        self.assertEqual([request.method.decode() for request in self.server.requests], verbs)
        lengths = [[value for name, value in request.headers if name == b"content-length"]
                   for request in self.server.requests]
        self.assertEqual(lengths, [[b"0"] if verb in ("POST", "PUT", "PATCH") else [] for verb in verbs])

    def test_head(self):
        for reply in self.ask_all(("/head", 'verb:"HEAD"'), ("/head", 'verb:"HEAD"')):
            self.assertText(reply, "")
        self.assertEqual(self.server.connections, 1)

    def test_each_request_names_its_host_once(self):
        self.ask_all(("/text", ""), ("/café?q=😀#part", ""))
        for request in self.server.requests:
            hosts = [value for name, value in request.headers if name == b"host"]
            self.assertEqual(hosts, [f"127.0.0.1:{self.server.port}".encode()])
            names = [name for name, _ in request.headers]
            self.assertEqual(len(names), len(set(names)))
            self.assertFalse({b"transfer-encoding", b"expect", b"upgrade"} & set(names))

    def test_names_and_passwords(self):
        url = self.server.url.replace("//", "//me%40x:p%3Aw@")
        self.assertText(send(ask(url + "/text"))[0], "text")
        fields = dict(self.server.requests[0].headers)
        self.assertEqual(fields[b"authorization"], b"Basic bWVAeDpwOnc=")

    def test_a_proxy_is_given_the_whole_url(self):
        self.assertText(send(ask("http://far.example/text?x=1", f'proxy:"{self.server.url}"'))[0], "moved")
        self.assertEqual(self.server.faults, [])
        self.assertEqual(self.server.requests[0].target, b"http://far.example/text?x=1")
        self.assertEqual(dict(self.server.requests[0].headers)[b"host"], b"far.example")

    def test_a_proxy_is_asked_for_a_tunnel(self):
        self.assertEqual(send(ask("https://far.example/", f'proxy:"{self.server.url}"')), [" ecode:1"])
        self.assertEqual(self.server.faults, [])
        self.assertEqual(self.server.requests[0].method, b"CONNECT")
        self.assertEqual(self.server.requests[0].target, b"far.example:443")
        self.assertEqual(dict(self.server.requests[0].headers)[b"host"], b"far.example:443")


def free_port():
    with socket.create_server(("127.0.0.1", 0)) as unused:
        return unused.getsockname()[1]


def listens(port):
    try:
        socket.create_connection(("127.0.0.1", port), timeout=1).close()
        return True
    except OSError:
        return False


class Daemon(unittest.TestCase):
    """A program of others, from before the tests to behind them."""
    PROGRAM = None

    @classmethod
    def setUpClass(cls):
        if cls is Daemon or not with_all:
            raise unittest.SkipTest("only with --all")
        path = shutil.which(cls.PROGRAM, path=os.environ["PATH"] + ":/usr/sbin:/sbin")
        if path is None:
            raise RuntimeError(f"{cls.PROGRAM} is not there: scripts/setup --network-tests")
        cls.server = Server()
        cls.addClassCleanup(cls.server.close)
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = folder.name
        os.chmod(cls.folder, 0o755)
        cls.port = free_port()
        cls.url = f"http://127.0.0.1:{cls.port}"
        cls.config = os.path.join(cls.folder, "config")
        cls.configure()
        process = subprocess.Popen([path, *cls.arguments()], cwd=cls.folder, stdin=subprocess.DEVNULL,
                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        cls.addClassCleanup(process.wait)
        cls.addClassCleanup(process.terminate)
        waiting.until(lambda: listens(cls.port), f"{cls.PROGRAM} listens", 30)

    @classmethod
    def write(cls, text, name="config"):
        with open(os.path.join(cls.folder, name), "w", encoding="utf-8") as file:
            file.write(text)

    def assertText(self, reply, text, status="200"):
        self.assertTrue(reply.startswith(f' response:"{text}" header:"HTTP/'), reply[:300])
        self.assertRegex(reply, f'header:"HTTP/[0-9.]+ {status}')
        self.assertTrue(reply.endswith(" ecode:0"), reply[-300:])


class Nginx(Daemon):
    PROGRAM = "nginx"

    @classmethod
    def arguments(cls):
        return ["-p", cls.folder, "-c", cls.config, "-e", "stderr"]

    @classmethod
    def configure(cls):
        certificates.make(cls.folder)
        cls.tls_port = free_port()
        os.mkdir(os.path.join(cls.folder, "pages"))
        cls.write("grüße " * 100000, "pages/large.txt")
        cls.write("packed " * 2000, "pages/packed.html")
        cls.write(f"""daemon off; pid {cls.folder}/pid; worker_processes 1;
events {{ worker_connections 64; }}
http {{
  access_log off; charset utf-8;
  types {{ text/html html; text/plain txt; }}
  client_body_temp_path {cls.folder}; proxy_temp_path {cls.folder};
  fastcgi_temp_path {cls.folder}; uwsgi_temp_path {cls.folder}; scgi_temp_path {cls.folder};
  server {{
    listen 127.0.0.1:{cls.port};
    listen 127.0.0.1:{cls.tls_port} ssl http2;
    ssl_certificate {cls.folder}/server.pem; ssl_certificate_key {cls.folder}/server.key;
    root {cls.folder}/pages; gzip on; gzip_types text/plain;
    location /moved {{ return 308 /hello; }}
    location /hello {{ return 200 "hello $request_method"; }}
    location /nothing {{ return 204; }}
    location /forwarded/ {{ proxy_pass {cls.server.url}/; proxy_buffering off; }}
  }}
}}""")

    def test_pages(self):
        for scheme, port in [("http", self.port), ("https", self.tls_port)]:
            url = f"{scheme}://127.0.0.1:{port}"
            replies = send(ask(url + "/large.txt"), ask(url + "/packed.html"), ask(url + "/moved"),
                           ask(url + "/hello", 'verb:"POST"'), ask(url + "/nothing"),
                           ask(url + "/hello", 'verb:"HEAD"'), ask(url + "/hello"),
                           env={"SSL_CERT_FILE": os.path.join(self.folder, "ca.pem")})
            with self.subTest(scheme):
                self.assertText(replies[0], "grüße " * 100000)
                self.assertIn(' charset:"utf-8"', replies[0])
                self.assertIn("gzip", replies[1])
                self.assertText(replies[1], "packed " * 2000)
                self.assertText(replies[2], "hello GET")
                self.assertText(replies[3], "hello POST")
                self.assertText(replies[4], "", 204)
                self.assertText(replies[5], "")
                self.assertText(replies[6], "hello GET")

    def test_what_breaks_off_behind_it(self):
        for scheme, port in [("http", self.port), ("https", self.tls_port)]:
            url = f"{scheme}://127.0.0.1:{port}/forwarded"
            replies = send(ask(url + "/short"), ask(url + "/cut-chunk"), ask(url + "/gzip/cut"),
                           ask(url + "/text"), ask(url + "/raw/cut-fields"),
                           env={"SSL_CERT_FILE": os.path.join(self.folder, "ca.pem")})
            with self.subTest(scheme):
                self.assertEqual(replies[:3], [" ecode:1"] * 3)
                self.assertText(replies[3], "grüße ✓")
                self.assertIn("502 " if scheme == "http" else "HTTP/2 502", replies[4])


class Haproxy(Daemon):
    PROGRAM = "haproxy"

    @classmethod
    def arguments(cls):
        return ["-db", "-f", cls.config]

    @classmethod
    def configure(cls):
        cls.write(f"""global
  maxconn 64
defaults
  mode http
  timeout connect 5s
  timeout client 10s
  timeout server 10s
frontend in
  bind 127.0.0.1:{cls.port}
  default_backend out
backend out
  server one 127.0.0.1:{cls.server.port}
""")

    def test_answers_come_through(self):
        replies = send(*(ask(self.url + path) for path in
                         ["/text", "/chunked", "/gzip", "/until-close", "/nothing", "/raw/trailer",
                          "/continue", "/relative/deep", "/text"]))
        for reply, text in zip(replies, ["grüße ✓", "hello world", "packed " * 100, "to the end", "",
                                         "hello", "after"]):
            self.assertTrue(reply.startswith(f' response:"{text}" header:"HTTP/'), reply)
        self.assertIn("GET /echo?x=1 HTTP/1.1", replies[7])
        self.assertTrue(all(reply.endswith(" ecode:0") for reply in replies), replies)

    def test_what_breaks_off_behind_it(self):
        """It breaks off here as well, or the answer is haproxy's own."""
        for reply in send(*(ask(self.url + path) for path in
                            ["/short", "/cut-chunk", "/bad-chunk", "/raw/no-last-chunk", "/gzip/cut",
                             "/raw/cut-fields", "/two-lengths", "/hang-up", "/old"])):
            self.assertRegex(reply, '^ ecode:1$|header:"HTTP/1.[01] 502')


class ForwardProxy(Daemon):
    """What a proxy on the way to the server has to do."""

    @classmethod
    def setUpClass(cls):
        if cls is ForwardProxy:
            raise unittest.SkipTest("for others to build upon")
        super().setUpClass()
        certificates.make(cls.folder)
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(os.path.join(cls.folder, "server.pem"),
                                os.path.join(cls.folder, "server.key"))
        cls.secure = Server(tls=context)
        cls.addClassCleanup(cls.secure.close)

    def through(self, url, user="me:secret@"):
        return send(ask(url, f'proxy:"http://{user}127.0.0.1:{self.port}"'),
                    env={"SSL_CERT_FILE": os.path.join(self.folder, "ca.pem")})[0]

    def test_answers_come_through(self):
        for path, text in {"/text": "grüße ✓", "/chunked": "hello world", "/gzip": "packed " * 100,
                           "/until-close": "to the end", "/nothing": ""}.items():
            with self.subTest(path):
                reply = self.through(self.server.url + path)
                self.assertTrue(reply.startswith(f' response:"{text}" header:"HTTP/'), reply)
                self.assertTrue(reply.endswith(" ecode:0"), reply)

    def test_a_tunnel(self):
        self.assertIn('response:"grüße ✓"', self.through(self.secure.url + "/text"))
        self.assertEqual(self.through(self.secure.url + "/until-close"), " ecode:1")

    def test_a_wrong_password(self):
        self.assertRegex(self.through(self.server.url + "/text", "me:wrong@"), 'header:"HTTP/1.[01] 40[17]')
        self.assertEqual(self.through(self.secure.url + "/text", "me:wrong@"), " ecode:1")

    def test_what_breaks_off_behind_it(self):
        for path in ["/short", "/gzip/cut"]:
            self.assertEqual(self.through(self.server.url + path), " ecode:1")


class Squid(ForwardProxy):
    PROGRAM = "squid"

    @classmethod
    def arguments(cls):
        return ["-N", "-f", cls.config]

    @classmethod
    def configure(cls):
        helper = os.path.join(cls.folder, "helper")
        cls.write("#!/bin/sh\nwhile read -r line; do\n"
                  "  if [ \"$line\" = 'me secret' ]; then echo OK; else echo ERR; fi\ndone\n", "helper")
        os.chmod(helper, 0o755)
        for log in ("access", "cache"):
            cls.write("", log)
            os.chmod(os.path.join(cls.folder, log), 0o666)
        cls.write(f"""http_port 127.0.0.1:{cls.port}
auth_param basic program {helper}
acl known proxy_auth REQUIRED
http_access allow known
http_access deny all
cache deny all
access_log {cls.folder}/access
cache_log {cls.folder}/cache
pid_filename none
shutdown_lifetime 0 seconds
pinger_enable off
""")


class Tinyproxy(ForwardProxy):
    PROGRAM = "tinyproxy"

    @classmethod
    def arguments(cls):
        return ["-d", "-c", cls.config]

    @classmethod
    def configure(cls):
        cls.write(f"""Port {cls.port}
Listen 127.0.0.1
Timeout 20
BasicAuth me secret
""")


def main():
    global program, with_all
    parser = argparse.ArgumentParser()
    parser.add_argument("--tavhost", default=os.path.join(ROOT, "build/bin/tavhost"))
    parser.add_argument("--all", action="store_true")
    options, rest = parser.parse_known_args()
    program, with_all = options.tavhost, options.all
    unittest.main(argv=[sys.argv[0], *rest])


if __name__ == "__main__":
    main()
