#!/usr/bin/env python3
"""The script service behind front ends that others wrote, nginx and haproxy, which
`scripts/setup --network-tests` installs; each is a process with a configuration of its own.

usage: front_ends_test.py [--tavhost PROGRAM] [unittest arguments]
"""
import concurrent.futures
import http.client
import json
import os
import shutil
import socket
import subprocess
import tempfile
import time
import unittest

import service_test
import waiting
from service_test import Service, mark


def free_port():
    with socket.create_server(("127.0.0.1", 0)) as free:
        return free.getsockname()[1]


def listens(port):
    try:
        socket.create_connection(("127.0.0.1", port), timeout=5).close()
        return True
    except OSError:
        return False


class FrontEnd:
    PROGRAM = ""

    @classmethod
    def setUpClass(cls):
        path = shutil.which(cls.PROGRAM, path=os.environ["PATH"] + ":/usr/sbin:/sbin")
        if not path:
            raise RuntimeError(f"{cls.PROGRAM} is not there: scripts/setup --network-tests")
        cls.service = Service("--quiet")
        cls.addClassCleanup(cls.service.stop)
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.port = free_port()
        config = os.path.join(folder.name, "config")
        with open(config, "w") as file:
            file.write(cls.configuration(folder.name))
        process = subprocess.Popen([path, *cls.arguments(config, folder.name)],
                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        cls.addClassCleanup(process.wait, 20)
        cls.addClassCleanup(process.terminate)
        waiting.until(lambda: listens(cls.port), f"{cls.PROGRAM} listens")
        cls.token = cls.service.token

    def post(self, path, text, **fields):
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=30)
        headers = {"X-Tavhost-Token": self.token,
                   **{"X-Tavhost-" + name: value for name, value in fields.items()}}
        connection.request("POST", path, text, headers)
        reply = connection.getresponse()
        result = reply.status, json.loads(reply.read())
        connection.close()
        return result

    def test_requests_and_refusals(self):
        for i in range(20):
            status, reply = self.post("/script", f"x = {i}")
            self.assertEqual((status, reply["variables"].get("x")), (200, i))
        self.assertEqual(self.post("/none", "")[0], 404)
        self.assertEqual(self.post("/cancel", "none")[0], 404)
        self.assertEqual(self.post("/script", "x = 1", Token="0" * 32)[0], 401)

    def test_a_long_body_and_a_long_reply(self):
        reply = self.post("/script", "#" * 4000000 + '\nt = "x"\nfor i from 1 to 22 '
                          '{ t = t + t }\nprint t\nt = ""')[1]
        self.assertEqual(len(reply["output"]), 4194305)

    def test_many_at_once(self):
        with concurrent.futures.ThreadPoolExecutor(50) as pool:
            replies = list(pool.map(lambda i: self.post("/script", f"x = {i}"), range(200)))
        self.assertEqual([reply["variables"]["x"] for _, reply in replies], list(range(200)))

    def test_a_question(self):
        reply = self.post("/script", 'INFOBOX "?"\nprint "answered"', Dialogs="ask 20")[1]
        status, reply = self.post("/answer", "MESSAGE_BOX", Question=reply["question"]["id"])
        self.assertEqual((status, reply["output"]), (200, "answered\n"))

    def test_a_client_that_leaves(self):
        here = mark(self)
        text = here.command + "while 1 { }"
        with socket.create_connection(("127.0.0.1", self.port)) as connection:
            connection.sendall((f"POST /script HTTP/1.1\r\nHost: localhost\r\nX-Tavhost-Token: "
                                f"{self.token}\r\nContent-Length: {len(text)}\r\n\r\n{text}").encode())
            here.wait()
        begin = time.monotonic()
        self.assertEqual(self.post("/script", "x = 1")[0], 200)
        self.assertLess(time.monotonic() - begin, 4)


class Nginx(FrontEnd, unittest.TestCase):
    PROGRAM = "nginx"

    @classmethod
    def arguments(cls, config, folder):
        os.chmod(folder, 0o755)
        return ["-p", folder, "-c", config, "-e", "stderr"]

    @classmethod
    def configuration(cls, folder):
        return f"""daemon off; worker_processes 1; pid {folder}/pid; error_log stderr;
events {{ worker_connections 512; }}
http {{ access_log off; client_max_body_size 8m; client_body_temp_path {folder}/body;
proxy_temp_path {folder}/proxy; fastcgi_temp_path {folder}/f; uwsgi_temp_path {folder}/u;
scgi_temp_path {folder}/s;
server {{ listen 127.0.0.1:{cls.port};
location / {{ proxy_pass http://127.0.0.1:{cls.service.port}; proxy_set_header Host localhost; }} }} }}
"""


class Haproxy(FrontEnd, unittest.TestCase):
    PROGRAM = "haproxy"

    @classmethod
    def arguments(cls, config, folder):
        return ["-db", "-f", config]

    @classmethod
    def configuration(cls, folder):
        return f"""defaults
  mode http
  timeout connect 5s
  timeout client 60s
  timeout server 60s
  option abortonclose
frontend in
  bind 127.0.0.1:{cls.port}
  default_backend service
backend service
  http-request set-header Host localhost
  server one 127.0.0.1:{cls.service.port}
"""


if __name__ == "__main__":
    service_test.main()
