#!/usr/bin/env python3
"""The script service and its connections: many of them, strangers, clients that leave, and what the
holder of the token can ask and do meanwhile.

usage: connections_test.py [--tavhost PROGRAM] [--wine] [unittest arguments]
"""
import concurrent.futures
import contextlib
import http.client
import json
import os
import re
import resource
import select
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import threading
import time
import unittest

import service_test
import sanitizers
import waiting
from service_test import WELL, Service, mark


def close_all(connections):
    for connection in connections:
        connection.close()


def read_reply(connection):
    """A whole reply from a socket: its status, head and JSON; interim ones are passed over."""
    received = bytearray()

    def read_more():
        piece = connection.recv(65536)
        if not piece:
            raise AssertionError(f"the connection ended: {bytes(received[:1000])!r}")
        received.extend(piece)

    while True:
        while (end := received.find(b"\r\n\r\n")) < 0:
            read_more()
        head = received[:end].decode()
        del received[:end + 4]
        if not head.startswith("HTTP/1.1 100 "):
            break
    length = int(re.search(r"(?i)\r\nContent-Length: (\d+)", head)[1])
    while len(received) < length:
        read_more()
    return int(head.split()[1]), head, json.loads(received[:length])


class Case(unittest.TestCase):
    options = ()

    def setUp(self):
        self.service = Service(*self.options)
        self.addCleanup(self.service.stop)

    def served_within(self, seconds):
        """Another client is served, soon."""
        begin = time.monotonic()
        status, reply = self.service.post("/script", "x = 1")
        self.assertEqual((status, reply["error"]), (200, None))
        self.assertLess(time.monotonic() - begin, seconds)

    def status(self):
        connection = http.client.HTTPConnection("127.0.0.1", self.service.port, timeout=30)
        with contextlib.closing(connection):
            connection.request("GET", "/status", headers={"X-Tavhost-Token": self.service.token})
            reply = connection.getresponse()
            self.assertEqual(reply.status, 200)
            return json.loads(reply.read())

    def running(self):
        return waiting.until(lambda: self.status()["running"], "a request runs")

    def stranger(self):
        return socket.create_connection(("127.0.0.1", self.service.port), timeout=30)


class Many(Case):
    def test_a_full_queue_answers_503_and_loses_nobody(self):
        here = mark(self)
        first = self.service.sent(here.command + "while 1 { }")
        here.wait()
        others = [self.service.sent(f"x = {i}") for i in range(110)]
        self.addCleanup(close_all, others)
        refused = waiting.until(lambda: len(ready := select.select(others, [], [], 0)[0]) >= 10
                                and ready, "those for whom there is no place are told")
        self.assertEqual([read_reply(other)[0] for other in refused], [503] * 10)
        self.service.post("/cancel", self.running()["id"])
        self.assertEqual(read_reply(first)[2]["error"], "the request was cancelled")
        first.close()
        for i, other in enumerate(others):
            if other not in refused:
                self.assertEqual(read_reply(other)[2]["variables"]["x"], i)

    def test_200_at_once(self):
        def one(i):
            connection = http.client.HTTPConnection("127.0.0.1", self.service.port, timeout=60)
            with contextlib.closing(connection):
                results = []
                for _ in range(5):
                    connection.request("POST", "/script", f"x = {i}", {
                        "X-Tavhost-Token": token})
                    reply = connection.getresponse()
                    results.append((reply.status, json.loads(reply.read())["variables"].get("x")))
                return results
        token = self.service.token
        with concurrent.futures.ThreadPoolExecutor(200) as pool:
            for i, results in enumerate(pool.map(one, range(200))):
                for result in results:
                    self.assertIn(result, [(200, i), (503, None)])

    def test_strangers_give_way_to_those_with_a_token(self):
        soft, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
        if hard != resource.RLIM_INFINITY and hard < 4096:
            self.skipTest("too few descriptors")
        resource.setrlimit(resource.RLIMIT_NOFILE, (4096, hard))
        self.addCleanup(resource.setrlimit, resource.RLIMIT_NOFILE, (soft, hard))
        kept = http.client.HTTPConnection("127.0.0.1", self.service.port, timeout=30)
        self.addCleanup(kept.close)
        headers = {"X-Tavhost-Token": self.service.token}
        kept.request("POST", "/script", "x = 1", headers)
        kept.getresponse().read()
        strangers = []
        self.addCleanup(close_all, strangers)
        for i in range(1500):
            strangers.append(self.stranger())
            if i % 2:
                strangers[-1].sendall(b"POST /script HTTP/1.1\r\nHost: ")
            if i % 100 == 0:
                self.served_within(5)
        kept.request("POST", "/script", "x = 2", headers)
        self.assertEqual(json.loads(kept.getresponse().read())["variables"]["x"], 2)

    def test_a_slow_upload_with_a_token_is_no_stranger(self):
        soft, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
        if hard != resource.RLIM_INFINITY and hard < 4096:
            self.skipTest("too few descriptors")
        resource.setrlimit(resource.RLIMIT_NOFILE, (4096, hard))
        self.addCleanup(resource.setrlimit, resource.RLIMIT_NOFILE, (soft, hard))
        body = b"x = 1"
        strangers = []
        self.addCleanup(close_all, strangers)
        with self.stranger() as upload:
            # That the head has been read shows in the word to go on.
            upload.sendall(self.service.head("/script", extra=[
                f"Content-Length: {len(body)}", "Expect: 100-continue"]) + b"\r\n")
            self.assertTrue(upload.recv(65536).startswith(b"HTTP/1.1 100 "))
            for i in range(1300):
                strangers.append(self.stranger())
                strangers[-1].sendall(b"POST /script HTTP/1.1\r\nHost: ")
                if i % 100 == 0:
                    self.served_within(5)
            upload.sendall(body)
            self.assertEqual(read_reply(upload)[2]["variables"]["x"], 1)

    def test_a_flood_with_a_wrong_token_harms_nobody(self):
        # Under Wine the service takes connections more slowly than one flooder makes them: each
        # honest one stands in the system's queue behind a thousand others.
        flooders, honest = (1, 10) if service_test.on_windows else (8, 200)
        token, ends = self.service.token, threading.Event()
        body = b"x = 1"
        wrong = self.service.head("/script", token="0" * 32,
                                  extra=[f"Content-Length: {len(body)}"]) + b"\r\n" + body

        def flood():
            while not ends.is_set():
                with contextlib.suppress(OSError), self.stranger() as connection:
                    connection.sendall(wrong)

        with concurrent.futures.ThreadPoolExecutor(flooders) as pool:
            for _ in range(flooders):
                pool.submit(flood)
            try:
                for i in range(honest):
                    status, reply = self.service.post("/script", f"x = {i}", token=token)
                    self.assertEqual((status, reply["variables"].get("x")), (200, i))
            finally:
                ends.set()

    def test_without_descriptors_it_waits_and_says_so_once(self):
        if service_test.on_windows:
            self.skipTest("the system limits descriptors of its own programs")
        service = Service("--quiet", preexec_fn=lambda: resource.setrlimit(
            resource.RLIMIT_NOFILE, (40, 40)))
        self.addCleanup(service.stop)
        holders = []
        self.addCleanup(close_all, holders)
        # Connections with a request in the queue cannot give way, whatever happens.
        for _ in range(30):
            holders.append(service.sent("SLEEP ms:1500"))
        others = [socket.create_connection(("127.0.0.1", service.port)) for _ in range(40)]
        self.addCleanup(close_all, others)

        before = waiting.state_and_ticks(service.process)[1]
        time.sleep(1)  # the time over which its processor time is measured
        self.assertLess(waiting.state_and_ticks(service.process)[1] - before, 30)
        close_all(others + holders)
        waiting.until(lambda: service.post("/command", "GET_DISPLAY_SIZE")[0] == 200,
                      "it serves again")
        service.stop()
        told = [line for line in service.errors if b"connection" in line]
        self.assertLessEqual(len(told), 2, told)


    def test_without_descriptors_it_says_so_once_while_connections_come_and_go(self):
        if service_test.on_windows:
            self.skipTest("the system limits descriptors of its own programs")
        if sanitizers.are_in_use():
            self.skipTest("the sanitizers look at memory by a pipe, for which there would be no room")
        service = Service("--quiet")
        self.addCleanup(service.stop)
        process = service.process.pid
        _, most = resource.prlimit(process, resource.RLIMIT_NOFILE)
        in_use = len(os.listdir(f"/proc/{process}/fd"))
        resource.prlimit(process, resource.RLIMIT_NOFILE, (in_use + 2, most))
        for _ in range(10):
            strangers = [socket.create_connection(("127.0.0.1", service.port)) for _ in range(8)]
            waiting.until(lambda: select.select(strangers, [], [], 0)[0], "one gives way")
            close_all(strangers)
            self.assertEqual(service.post("/command", "SLEEP ms:0")[0], 200)
        service.stop()
        told = [line for line in service.errors if b"no connection can be accepted" in line]
        self.assertEqual(len(told), 1, told)


class Leaving(Case):
    """A client that goes while its script runs stops it, in whatever state it goes."""

    def runs_for_ever(self, more=b"", **options):
        here = mark(self)
        body = (here.command + "while 1 { }").encode()
        connection = self.stranger()
        connection.sendall(self.service.head("/script", extra=[f"Content-Length: {len(body)}"],
                                             **options) + b"\r\n" + body + more)
        here.wait()
        return connection

    def test_behind_an_empty_line(self):
        self.runs_for_ever(b"\r\n").close()
        self.served_within(2)

    def test_behind_more_requests(self):
        body = b"x = 1"
        request = self.service.head("/script", extra=["Content-Length: 5"]) + b"\r\n" + body
        self.runs_for_ever(request * 3).close()
        self.served_within(2)

    def test_behind_more_than_is_read_ahead(self):
        connection = self.runs_for_ever()
        connection.setblocking(False)
        with contextlib.suppress(BlockingIOError):
            while True:
                connection.send(b"x" * 65536)
        connection.close()
        self.served_within(4)

    def test_with_a_reset(self):
        connection = self.runs_for_ever()
        connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        connection.close()
        self.served_within(2)

    def test_first_its_sending_then_itself(self):
        connection = self.runs_for_ever()
        connection.shutdown(socket.SHUT_WR)
        time.sleep(1.5)  # long enough to be looked for more than once
        self.assertTrue(self.status()["running"], "it is still there")
        connection.close()
        self.served_within(3)

    def test_one_that_speaks_http_1_0(self):
        if service_test.on_windows:
            self.skipTest("the system does not tell who is gone")
        self.runs_for_ever(version="1.0").close()
        self.served_within(3)

    def half_closed(self, version, script, connection=None):
        body = script.encode()
        with connection or self.stranger() as connection:
            connection.sendall(self.service.head("/script", version=version, extra=[
                f"Content-Length: {len(body)}"]) + b"\r\n" + body)
            connection.shutdown(socket.SHUT_WR)
            return read_reply(connection)

    def test_one_that_has_only_sent_its_last_byte_has_not_left(self):
        for version in ("1.1", "1.0"):
            for script in ("x = 1", "SLEEP ms:1500\nx = 1"):
                with self.subTest(version=version, script=script):
                    status, _, reply = self.half_closed(version, script)
                    self.assertEqual((status, reply["error"], reply["variables"].get("x")),
                                     (200, None, 1))

    def test_one_whose_socket_is_for_both_kinds_of_addresses(self):
        try:
            connection = socket.socket(socket.AF_INET6)
            connection.connect(("::ffff:127.0.0.1", self.service.port))
        except OSError:
            self.skipTest("no IPv6 on this machine")
        connection.settimeout(30)
        status, _, reply = self.half_closed("1.1", "SLEEP ms:2500\nx = 1", connection)
        self.assertEqual((status, reply["error"], reply["variables"].get("x")), (200, None, 1))

    def test_many_that_have_sent_their_last_byte_hold_nobody_up(self):
        """Whatever the length of the system's list of connections."""
        soft, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
        if hard != resource.RLIM_INFINITY and hard < 4096:
            self.skipTest("too few descriptors")
        resource.setrlimit(resource.RLIMIT_NOFILE, (4096, hard))
        self.addCleanup(resource.setrlimit, resource.RLIMIT_NOFILE, (soft, hard))
        here = mark(self)
        first = self.service.sent(here.command + "while 1 { }")
        self.addCleanup(first.close)
        here.wait()
        waiters = [self.service.sent(f"x = {i}") for i in range(90)]
        self.addCleanup(close_all, waiters)
        for waiter in waiters:
            waiter.shutdown(socket.SHUT_WR)
        waiting.until(lambda: len(self.status()["waiting"]) == 90, "all wait")
        fillers = []
        self.addCleanup(close_all, fillers)
        with socket.create_server(("127.0.0.1", 0), backlog=4000) as other:
            for _ in range(3000):
                fillers.append(socket.create_connection(other.getsockname()))
            before = waiting.ticks_beside_the_main_thread(self.service.process)
            for _ in range(40):
                self.status()
                time.sleep(0.1)  # each is looked for several times meanwhile
            spent = waiting.ticks_beside_the_main_thread(self.service.process) - before
        # Processor time, since the machine may be busy with other things. Whoever read the list for
        # each of them would do nothing else. Wine sends a word to each.
        if not service_test.on_windows:
            self.assertLess(spent, 120)
        self.assertEqual(len(self.status()["waiting"]), 90)
        self.service.post("/cancel", self.running()["id"])
        for i, waiter in enumerate(waiters):
            self.assertEqual(read_reply(waiter)[2]["variables"]["x"], i)

    def test_the_reply_to_a_short_script_comes_alone(self):
        body = b"x = 1"
        with self.stranger() as connection:
            connection.sendall(self.service.head("/script", extra=["Content-Length: 5"]) +
                               b"\r\n" + body)
            connection.shutdown(socket.SHUT_WR)
            self.assertTrue(connection.recv(65536).startswith(b"HTTP/1.1 200 "))

    def test_while_it_waits(self):
        here = mark(self)
        first = self.service.sent(here.command + "while 1 { }")
        self.addCleanup(first.close)
        here.wait()
        for more in (b"", b"\r\n"):
            other = self.service.sent("x = 1")
            other.sendall(more)
            waiting.until(lambda: self.status()["waiting"], "it waits")
            other.close()
            waiting.until(lambda: not self.status()["waiting"], "it has left the queue")


class Questions(Case):
    def ask(self, connection, text='INFOBOX "?"\nprint "answered"', extra=()):
        body = text.encode()
        connection.sendall(self.service.head("/script", extra=[
            f"Content-Length: {len(body)}", "X-Tavhost-Dialogs: ask 3600", *extra]) +
            b"\r\n" + body)
        return read_reply(connection)

    def answer(self, identifier, text="MESSAGE_BOX"):
        return self.service.post("/answer", text, headers={"X-Tavhost-Question": identifier})

    def test_it_ends_with_its_client(self):
        with self.stranger() as connection:
            identifier = self.ask(connection)[2]["question"]["id"]
        self.served_within(4)
        status, reply = self.answer(identifier)
        self.assertEqual((status, reply["error"]),
                         (410, "the client left before the window was answered"))

    def test_a_client_that_comes_back_at_once_can_answer(self):
        with self.stranger() as connection:
            identifier = self.ask(connection)[2]["question"]["id"]
        self.assertEqual(self.answer(identifier)[1]["output"], "answered\n")

    def test_a_client_that_has_said_that_it_closes_can_take_its_time(self):
        with self.stranger() as connection:
            identifier = self.ask(connection, extra=["Connection: close"])[2]["question"]["id"]
        time.sleep(3)  # longer than the others have
        self.assertEqual(self.answer(identifier)[1]["output"], "answered\n")

    def test_a_client_that_stays_can_take_its_time(self):
        with self.stranger() as connection:
            identifier = self.ask(connection)[2]["question"]["id"]
            time.sleep(3)  # longer than one has that has left
            self.assertEqual(self.answer(identifier)[1]["output"], "answered\n")

    def test_a_client_that_tries_again_has_time_again(self):
        with self.stranger() as connection:
            identifier = self.ask(connection)[2]["question"]["id"]
            self.assertEqual(self.answer(identifier, "VIEW_BOX")[0], 400)
        self.assertEqual(self.answer(identifier)[1]["output"], "answered\n")

    def refused_answer(self, identifier):
        """On a connection of its own, which is kept until it is closed here."""
        body = b"VIEW_BOX"
        with self.stranger() as connection:
            connection.sendall(self.service.head("/answer", extra=[
                f"Content-Length: {len(body)}", "X-Tavhost-Question: " + identifier]) +
                b"\r\n" + body)
            self.assertEqual(read_reply(connection)[0], 400)

    def test_a_wrong_answer_ends_nothing_where_the_client_takes_its_time(self):
        with self.stranger() as connection:
            closing = self.ask(connection, extra=["Connection: close"])[2]["question"]["id"]
        self.refused_answer(closing)
        time.sleep(3)  # longer than one has that has left
        self.assertEqual(self.answer(closing)[1]["output"], "answered\n")

    def test_a_wrong_answer_ends_nothing_while_the_client_is_there(self):
        with self.stranger() as connection:
            identifier = self.ask(connection)[2]["question"]["id"]
            self.refused_answer(identifier)
            time.sleep(3)  # longer than one has that has left
            self.assertEqual(self.answer(identifier)[1]["output"], "answered\n")

    def test_whoever_tries_when_the_client_has_left_takes_its_place(self):
        with self.stranger() as connection:
            identifier = self.ask(connection)[2]["question"]["id"]
        self.refused_answer(identifier)
        self.served_within(4)
        self.assertEqual(self.answer(identifier)[0], 410)

    def test_cancel(self):
        with self.stranger() as connection:
            _, head, reply = self.ask(connection)
            request = re.search(r"X-Tavhost-Request: (\S+)", head)[1]
            self.assertEqual(self.running()["id"], request)
            self.assertEqual(self.running()["question"]["id"], reply["question"]["id"])
            self.assertEqual(self.service.post("/cancel", request)[0], 200)
            self.served_within(2)
            status, late = self.answer(reply["question"]["id"])
            self.assertEqual((status, late["error"]),
                             (410, "the request was cancelled before the window was answered"))

    def test_a_time_limit(self):
        with self.stranger() as connection:
            reply = self.ask(connection, 'x = 1\nINFOBOX "?"', ["X-Tavhost-Timeout: 0.5"])[2]
            self.served_within(2)
            status, late = self.answer(reply["question"]["id"])
            self.assertEqual((status, late["error"]), (
                410, "the script was stopped at line 2: its time limit of 0.5 s is over"))

    def test_a_stop_while_it_is_written(self):
        """Of each character six are written: that takes far longer than to fill the list."""
        if service_test.on_windows:
            self.skipTest("how far a program has come is seen by its processor time")
        here = mark(self)
        script = ('e = "\\x01"\nwhile len(e) < 1000 { e = e + e }\ns = e + " "\n'
                  'while len(s) < 8000000 { s = s + s }\ne = ""\n')
        with self.service.sent(script + here.command + "LISTBOX entries:(s)",
                               extra=["X-Tavhost-Dialogs: ask"]) as connection:
            here.wait()
            waiting.until_computed(self.service.process, 20)
            begin = time.monotonic()
            self.assertEqual(self.service.post("/cancel", self.running()["id"])[0], 200)
            reply = read_reply(connection)[2]
            self.assertLess(time.monotonic() - begin, 2)
        self.assertFalse("question" in reply)
        self.assertEqual(reply["error"], "the request was cancelled")

    def test_one_longer_than_a_reply(self):
        self.service.stop()
        self.service = Service("--reply-limit", "1")
        self.addCleanup(self.service.stop)
        script = 's = "a "\nwhile len(s) < 600000 { s = s + s }\nLISTBOX entries:(s)'
        with self.stranger() as connection:
            reply = self.ask(connection, script)[2]
        self.assertFalse("question" in reply)
        self.assertEqual(reply["error"], "the reply is longer than 1 MiB")

    def test_the_reply_belongs_to_the_request(self):
        with self.stranger() as connection:
            _, head, reply = self.ask(connection)
            request = re.search(r"X-Tavhost-Request: (\S+)", head)[1]
            body = b"MESSAGE_BOX"
            connection.sendall(self.service.head("/answer", extra=[
                f"Content-Length: {len(body)}",
                "X-Tavhost-Question: " + reply["question"]["id"]]) + b"\r\n" + body)
            _, head, reply = read_reply(connection)
            self.assertEqual(re.search(r"X-Tavhost-Request: (\S+)", head)[1], request)
            self.assertEqual(reply["output"], "answered\n")

    def test_the_service_can_be_stopped_meanwhile(self):
        with self.stranger() as connection:
            self.ask(connection)
            reply = self.service.post("/command", "SERVICE stop")[1]
            self.assertEqual(reply, {"variables": {"ecode": 0}, **WELL})
            self.assertEqual(self.service.process.wait(timeout=5), 0)


class Holder(Case):
    """What the token's holder can ask and do while scripts run."""

    def test_an_idle_service(self):
        self.assertEqual(self.status(), {"variables": {}, **WELL, "running": None, "waiting": []})

    def test_what_runs_and_what_waits(self):
        here = mark(self)
        with self.service.sent(here.command + "while 1 { }") as first:
            here.wait()
            with self.service.sent("GET_DISPLAY_SIZE", "/command") as second:
                waits = waiting.until(lambda: self.status()["waiting"], "the other one waits")
                self.assertEqual([each["path"] for each in waits], ["/command"])
                running = self.running()
                self.assertEqual((running["path"], running["question"]), ("/script", None))
                self.assertRegex(running["since"], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ$")
                self.assertGreaterEqual(running["seconds"], 0)
                self.assertEqual(self.service.post("/cancel", waits[0]["id"])[0], 200)
                self.assertEqual(read_reply(second)[2]["error"], "the request was cancelled")
                self.assertEqual(self.service.post("/cancel", running["id"] + "\n")[0], 200)
                _, head, reply = read_reply(first)
                self.assertEqual(reply["error"], "the request was cancelled")
                self.assertEqual(re.search(r"X-Tavhost-Request: (\S+)", head)[1], running["id"])
        self.served_within(2)
        status, reply = self.service.post("/cancel", running["id"])
        self.assertEqual((status, reply["error"]), (404, "there is no such request"))

    def test_strangers_ask_nothing(self):
        for path, method in (("/status", "GET"), ("/cancel", "POST")):
            request = self.service.head(path, method, token="0" * 32,
                                        extra=["Content-Length: 0"]) + b"\r\n"
            self.assertEqual(self.service.raw(request), 401)


class Reasons(Case):
    def run_script(self, text, path="/script", **headers):
        status, reply = self.service.post(path, text, headers=headers)
        self.assertEqual(status, 200)
        return reply

    def test_exit(self):
        for text, code in (("exit 7", 7), ("exit", 0), ("exit 300", 300), ("x = 1", None)):
            self.assertEqual(self.run_script(text)["exit"], code, text)
        self.assertEqual(self.run_script("print 1\nexit 3")["output"], "1\n")

    def test_the_place_of_an_error(self):
        for text, place in [
                ("x = 1\nprint missing", (2, 7, "")),
                ("\n  SLEEP", (2, 3, "SLEEP")),
                ("x = ", (1, 5, "")),
                ("try { SLEEP } catch e {\n throw e }", (1, 7, "SLEEP"))]:
            place = dict(zip(("line", "column", "command"), place), file="request")
            self.assertEqual(self.run_script(text)["errorAt"], place, text)
        self.assertIsNone(self.run_script("x = 1")["errorAt"])

    def test_the_place_of_an_error_of_a_command(self):
        for text, place in [("# a\n\n  SLEEP", (3, 3, "SLEEP")), ("SLEEP ms:(", (1, 11, "")),
                            (" NO_SUCH", (1, 2, "NO_SUCH"))]:
            place = dict(zip(("line", "column", "command"), place), file="request")
            self.assertEqual(self.run_script(text, "/command")["errorAt"], place, text)

    def test_a_command_without_an_answer(self):
        self.assertIn("this line answers it: MESSAGE_BOX button:ok",
                      self.run_script('INFOBOX "?"', "/command")["error"])
        self.assertIn("this line answers it: MESSAGE_BOX button:ok",
                      self.run_script('EXECUTE "INFOBOX \\"?\\""', "/command")["error"])

    def test_a_time_limit_of_a_request(self):
        for path, text, reason in [
                ("/script", "x = 1\nwhile 1 { }",
                 "the script was stopped at line 2: its time limit of 0.3 s is over"),
                ("/command", "SLEEP ms:20000",
                 "the script was stopped: its time limit of 0.3 s is over"),
                ("/command", 'EXECUTE "while 1 { }"',
                 "the script was stopped: its time limit of 0.3 s is over"),
                ("/command", 'EXECUTE "SLEEP ms:20000"',
                 "the script was stopped: its time limit of 0.3 s is over")]:
            begin = time.monotonic()
            reply = self.run_script(text, path, **{"X-Tavhost-Timeout": "0.3"})
            self.assertEqual(reply["error"], reason)
            self.assertTrue(0.3 <= time.monotonic() - begin < 2)
        self.assertIsNone(self.run_script("x = 1", **{"X-Tavhost-Timeout": "5"})["error"])
        self.served_within(2)

    def test_what_is_no_time_limit(self):
        for wrong in ("", "0", "-1", "1s", "nan", "1e3", "10000000"):
            self.assertEqual(self.service.post("/script", "x = 1", headers={
                "X-Tavhost-Timeout": wrong})[0], 400, wrong)

    def test_an_interrupt(self):
        here = mark(self)
        with self.service.sent(here.command + "while 1 { }") as connection:
            here.wait()
            self.service.process.send_signal(signal.SIGINT)
            self.assertEqual(read_reply(connection)[2]["error"],
                             "the script was stopped at line 2: the service was interrupted")


class LargeVariables(Case):
    """What ends a request while its variables, the same list over and over, are written; and what
    its client is told where they have no room.."""
    options = ("--reply-limit", "1024")
    MANY = 'a = (1, "x")\nfor i from 1 to 60 { a = (a, a) }\n'
    NONE = {"variables": {}, "leftOut": ["variables"]}

    def setUp(self):
        super().setUp()
        self.here = mark(self)

    def written(self, script=MANY, extra=()):
        """The connection of a request whose variables are being written."""
        connection = self.service.sent(script + self.here.command, extra=extra)
        self.addCleanup(connection.close)
        self.here.wait()
        return connection

    def reply_within(self, seconds, connection):
        begin = time.monotonic()
        reply = read_reply(connection)[2]
        self.assertLess(time.monotonic() - begin, seconds)
        self.assertEqual({**reply, **self.NONE}, reply)
        return reply

    def test_a_time_limit(self):
        reply = self.reply_within(3, self.written(extra=["X-Tavhost-Timeout: 0.5"]))
        self.assertEqual(reply["error"], "the script was stopped: its time limit of 0.5 s is over")

    def test_a_client_that_leaves(self):
        self.written().close()
        self.served_within(2)

    def test_cancel(self):
        connection = self.written('print "so far"\n' + self.MANY)
        self.assertEqual(self.service.post("/cancel", self.running()["id"])[0], 200)
        reply = self.reply_within(2, connection)
        self.assertEqual((reply["error"], reply["output"]),
                         ("the request was cancelled", "so far\n"))
        self.served_within(2)

    def test_sigterm(self):
        if service_test.on_windows:
            self.skipTest("there are no such signals")
        connection = self.written()
        self.service.process.send_signal(signal.SIGTERM)
        reply = self.reply_within(2, connection)
        self.assertEqual(reply["error"], "the script was stopped: the service was told to end")
        self.assertEqual(self.service.process.wait(timeout=5), 143)

    def test_what_had_ended_the_script_is_told_all_the_same(self):
        for end, limit, error in [
                ("while 1 { }", "0.5",
                 "the script was stopped at line 4: its time limit of 0.5 s is over"),
                ('INFOBOX "?"', "20", "this line answers it")]:
            with self.service.sent(self.MANY + "\n" + end,
                                   extra=[f"X-Tavhost-Timeout: {limit}"]) as connection:
                reply = self.reply_within(4, connection)
            self.assertIn(error, reply["error"])
            self.assertEqual(reply["errorAt"]["line"], 4)


class TimeLimit(Reasons):
    """The limit that the service itself sets."""
    options = ("--request-timeout", "0.5")

    def test_it_holds_for_those_that_ask_for_more(self):
        for headers in ({}, {"X-Tavhost-Timeout": "60"}):
            self.assertEqual(self.run_script("while 1 { }", **headers)["error"],
                             "the script was stopped at line 1: its time limit of 0.5 s is over")

    test_an_interrupt = None  # would come too late


class Replies(Case):
    def reply(self, request):
        with self.stranger() as connection:
            connection.sendall(request)
            return read_reply(connection)

    def request(self, body=b"x = 1", path="/script", **options):
        extra = [*options.pop("extra", []), f"Content-Length: {len(body)}"]
        return self.service.head(path, extra=extra, **options) + b"\r\n" + body

    def test_http_1_0(self):
        with self.stranger() as connection:
            for _ in range(3):
                connection.sendall(self.request(version="1.0", extra=["Connection: keep-alive"]))
                self.assertIn("Connection: keep-alive", read_reply(connection)[1])
            connection.sendall(self.request(version="1.0"))
            self.assertIn("Connection: close", read_reply(connection)[1])
            self.assertEqual(connection.recv(1), b"")

    def test_401_says_what_it_wants(self):
        status, head, _ = self.reply(self.request(token="0" * 32))
        self.assertEqual(status, 401)
        self.assertIn("\r\nWWW-Authenticate: X-Tavhost-Token realm=\"tavhost\"", head)

    def test_405_says_what_is_allowed(self):
        self.assertIn("\r\nAllow: POST", self.reply(self.request(method="GET"))[1])
        self.assertIn("\r\nAllow: GET", self.reply(self.request(path="/status"))[1])

    def test_head_has_no_body(self):
        with self.stranger() as connection:
            connection.sendall(self.request(b"", method="HEAD"))
            received = b""
            while piece := connection.recv(65536):
                received += piece
        self.assertTrue(received.startswith(b"HTTP/1.1 405 ") and received.endswith(b"\r\n\r\n"))

    def test_fields_behind_the_body_count_for_nothing(self):
        request = (self.service.head("/script", extra=["Transfer-Encoding: chunked"]) +
                   b"\r\n5\r\nx = 1\r\n0\r\nX-Tavhost-Dialogs: ask 0\r\n\r\n")
        self.assertEqual(self.reply(request)[0], 200)

    def test_each_has_an_id(self):
        ids = [re.search(r"X-Tavhost-Request: (\S+)", self.reply(request)[1])[1]
               for request in (self.request(), self.request(token="x"), b"GARBAGE\r\n\r\n")]
        self.assertEqual(len(set(ids)), 3)

    def test_as_a_strict_client_reads_them(self):
        sys.path.append("/usr/lib/python3/dist-packages")  # where the system's packages are
        try:
            import h11
        except ImportError:
            self.skipTest("h11 is not installed")
        finally:
            sys.path.pop()
        token = self.service.token

        def ask(connection, client, method, path, headers, body=b"", half_close=False):
            headers = [("Host", f"127.0.0.1:{self.service.port}"), ("X-Tavhost-Token", token),
                       ("Content-Length", str(len(body))), *headers]
            for event in (h11.Request(method=method, target=path, headers=headers),
                          h11.Data(data=body), h11.EndOfMessage()):
                connection.sendall(client.send(event))
            if half_close:
                connection.shutdown(socket.SHUT_WR)
            status, received = None, b""
            while True:
                event = client.next_event()
                if event is h11.NEED_DATA:
                    client.receive_data(connection.recv(65536))
                elif isinstance(event, h11.Response):
                    status = event.status_code
                elif isinstance(event, h11.Data):
                    received += bytes(event.data)
                elif isinstance(event, (h11.EndOfMessage, h11.ConnectionClosed)):
                    return status, received

        with self.stranger() as connection:
            client = h11.Connection(h11.CLIENT)
            for method, path, headers, body, wanted in [
                    ("POST", "/script", [], b"x = 1", 200), ("GET", "/status", [], b"", 200),
                    ("POST", "/cancel", [], b"none", 404),
                    ("POST", "/answer", [("X-Tavhost-Question", "x")], b"", 404),
                    ("POST", "/script", [("X-Tavhost-Dialogs", "ask")], b'INFOBOX "?"', 200)]:
                status, received = ask(connection, client, method, path, headers, body)
                self.assertEqual(status, wanted)
                json.loads(received)
                client.start_next_cycle()
        for method, path, headers, wanted in [
                ("HEAD", "/script", [], 405), ("POST", "/none", [], 404),
                ("POST", "/script", [("Origin", "null")], 403),
                ("POST", "/script", [("X-Tavhost-Timeout", "x")], 400),
                ("POST", "/script", [("X", "x" * 20000)], 431)]:
            with self.stranger() as connection:
                status, _ = ask(connection, h11.Connection(h11.CLIENT), method, path, headers)
                self.assertEqual(status, wanted)
        with self.stranger() as connection:  # what it is sent meanwhile is no reply
            status, received = ask(connection, h11.Connection(h11.CLIENT), "POST", "/script", [],
                                   b"SLEEP ms:1200\nx = 1", half_close=True)
            self.assertEqual((status, json.loads(received)["variables"]["x"]), (200, 1))


class Starting(unittest.TestCase):
    def fails(self, *options, **more):
        done = subprocess.run([*service_test.program, "serve", *options], timeout=60,
                              stdin=subprocess.DEVNULL, stderr=subprocess.PIPE,
                              **{"stdout": subprocess.PIPE, **more})
        return done.returncode, done.stderr.decode()

    def test_the_other_loopback_address_is_taken(self):
        try:
            stranger = socket.create_server(("::1", 0), family=socket.AF_INET6)
        except OSError:
            self.skipTest("no IPv6 on this machine")
        with stranger:
            port = stranger.getsockname()[1]
            code, errors = self.fails("--port", str(port))
        self.assertEqual(code, 1)
        self.assertRegex(errors, f"^script service: port {port}: ::1: .")

    def test_lost_standard_output(self):
        if service_test.on_windows:
            self.skipTest("the system has no file that is always full")
        with open("/dev/full", "wb") as full:
            code, errors = self.fails(stdout=full)
        self.assertEqual(code, 1)
        self.assertIn("tavhost: cannot write standard output: No space left on device", errors)

    def test_a_reader_of_standard_output_that_has_gone(self):
        if service_test.on_windows:
            self.skipTest("pipes of the system")
        read, write = os.pipe()
        os.close(read)
        with open(write, "wb") as pipe:
            code, errors = self.fails(stdout=pipe)
        self.assertEqual(code, 1)
        self.assertIn("tavhost: cannot write standard output: Broken pipe", errors)


class Log(unittest.TestCase):
    def test_quiet(self):
        service = Service("--quiet")
        service.post("/script", "x = 1")
        service.stop()
        self.assertEqual(service.errors, [])

    def test_no_token_wherever_it_stands(self):
        service = Service()
        token = service.token
        for path in (f"/script?token={token}", f"/{token}", "/" + "x" * 190 + token,
                     f"/%41{token.upper()}", "/" + "".join(f"%{ord(c):02x}" for c in token),
                     "/" + "".join(f"%25{ord(c):02X}" for c in token)):
            service.raw(service.head(path, extra=["Content-Length: 0", f"User-Agent: {token}"]) +
                        b"\r\n")
        service.stop()
        log = b"".join(service.errors)
        self.assertIn(b"POST /script?*** 404", log)
        self.assertIn(b"POST /*** 404", log)
        self.assertNotIn(token[:10].encode(), log.lower())
        self.assertNotIn(b"%3", log)  # of a digit

    def test_what_never_came_is_a_dash(self):
        service = Service()
        self.assertEqual(service.raw(b"\x01\r\n\r\n"), 400)
        service.stop()
        self.assertRegex(b"".join(service.errors), rb"Z - - 400 ")


@unittest.skipIf(os.name == "nt", "sockets in the file system")
class SlowReaders(unittest.TestCase):
    """Time is what is tested: whoever takes something now and then goes on for longer than one who
    takes nothing, and that one does not."""

    def test_only_those_that_take_nothing_are_cut_off(self):
        if service_test.on_windows:
            self.skipTest("the system does not tell what a client has taken")
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        path = os.path.join(folder.name, "s")
        service = Service("--socket", path, "--port", "0")
        self.addCleanup(service.stop)
        script = 'x = "abcdefgh"\nwhile len(x) < 16000000 { x = x + x }'
        ended = {}

        def read(name, client, rate, seconds):
            body = script.encode()
            with client:
                client.settimeout(60)
                client.sendall(service.head("/script", extra=[f"Content-Length: {len(body)}"])
                               + b"\r\n" + body)
                received = client.recv(1000)
                begin = time.monotonic()
                length = int(re.search(rb"Content-Length: (\d+)", received)[1])
                count = len(received) - received.index(b"\r\n\r\n") - 4
                while time.monotonic() - begin < seconds:
                    if rate:
                        count += len(client.recv(rate))
                    time.sleep(1)
                while piece := client.recv(1 << 20):
                    count += len(piece)
                    if count >= length:
                        break
                ended[name] = count == length

        def over_tcp():
            client = socket.socket()
            client.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 1 << 16)
            client.connect(("127.0.0.1", service.port))
            return client

        def over_path():
            client = socket.socket(socket.AF_UNIX)
            client.connect(path)
            return client

        readers = [threading.Thread(target=read, args=arguments, daemon=True) for arguments in [
            ("slow", over_tcp(), 500, 36), ("slow on a path", over_path(), 500, 36),
            ("silent", over_tcp(), 0, 36), ("silent on a path", over_path(), 0, 36)]]
        for reader in readers:
            reader.start()
        for reader in readers:
            reader.join(timeout=120)
        self.assertEqual(ended, {"slow": True, "slow on a path": True,
                                 "silent": False, "silent on a path": False})
        cut = [line for line in service.errors if b" cut off at " in line]
        self.assertEqual(len(cut), 2, service.errors)


@unittest.skipIf(os.name == "nt", "sockets in the file system")
class Sockets(unittest.TestCase):
    def setUp(self):
        if service_test.on_windows:
            self.skipTest("sockets in the file system are not for this system")
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.path = os.path.join(folder.name, "socket")
        self.folder = folder.name

    def start(self, *options, **more):
        process = subprocess.Popen([*service_test.program, "serve", *options],
                                   stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                   stdin=subprocess.DEVNULL, **more)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.wait, 20)
        self.addCleanup(process.terminate)
        lines = [process.stdout.readline().decode().strip()]
        while lines[-1] and not lines[-1].startswith("token file: "):
            lines.append(process.stdout.readline().decode().strip())
        return process, lines

    def post(self, path, text, token, at=None):
        with socket.socket(socket.AF_UNIX) as connection:
            connection.settimeout(30)
            connection.connect(at or self.path)
            connection.sendall(f"POST {path} HTTP/1.1\r\nHost: localhost\r\nX-Tavhost-Token: {token}"
                               f"\r\nContent-Length: {len(text)}\r\n\r\n{text}".encode())
            return read_reply(connection)

    def token(self, path=None):
        with open(path or self.path + ".token") as file:
            return file.read().strip()

    def test_a_socket_of_the_owner_alone(self):
        process, lines = self.start("--socket", self.path)
        self.assertEqual(lines, [f"listening on unix:{self.path}",
                                 f"token file: {self.path}.token"])
        self.assertEqual(os.stat(self.path).st_mode & 0o777, 0o600)
        self.assertEqual(os.stat(self.path + ".token").st_mode & 0o777, 0o600)
        self.assertEqual(self.post("/script", "x = 1", self.token())[2]["variables"]["x"], 1)
        self.assertEqual(self.post("/script", "x = 1", "0" * 32)[0], 401)
        process.terminate()
        self.assertEqual(process.wait(timeout=10), 143)
        self.assertEqual(os.listdir(self.folder), [])

    def test_a_client_that_leaves(self):
        self.start("--socket", self.path)
        token = self.token()
        here = mark(self)
        text = here.command + "while 1 { }"
        with socket.socket(socket.AF_UNIX) as connection:
            connection.connect(self.path)
            connection.sendall(f"POST /script HTTP/1.1\r\nHost: localhost\r\nX-Tavhost-Token: {token}"
                               f"\r\nContent-Length: {len(text)}\r\n\r\n{text}\r\n".encode())
            here.wait()
        begin = time.monotonic()
        self.assertEqual(self.post("/script", "x = 1", token)[0], 200)
        self.assertLess(time.monotonic() - begin, 2)

    def test_what_was_left_behind_and_what_is_in_use(self):
        process, _ = self.start("--socket", self.path)
        done = subprocess.run([*service_test.program, "serve", "--socket", self.path],
                              capture_output=True, timeout=60, stdin=subprocess.DEVNULL)
        self.assertEqual(done.returncode, 1)
        self.assertIn(b"Address already in use", done.stderr)
        before = self.token()
        self.assertEqual(self.post("/script", "x = 1", before)[0], 200)
        process.kill()
        process.wait()
        self.assertEqual(sorted(os.listdir(self.folder)), ["socket", "socket.token"])
        process, _ = self.start("--socket", self.path)
        self.assertNotEqual(self.token(), before)
        self.assertEqual(self.post("/script", "x = 1", self.token())[0], 200)
        self.assertEqual(self.post("/script", "x = 1", before)[0], 401)
        process.terminate()
        self.assertEqual(process.wait(timeout=10), 143)
        self.assertEqual(os.listdir(self.folder), [])

    def test_what_has_replaced_its_own_is_left_alone(self):
        first, _ = self.start("--socket", self.path)
        os.unlink(self.path)
        os.unlink(self.path + ".token")
        self.start("--socket", self.path)
        first.terminate()
        first.wait(timeout=10)
        self.assertEqual(self.post("/script", "x = 1", self.token())[0], 200)

    def test_of_many_that_begin_at_once_one_has_the_path(self):
        for _ in range(3):
            with socket.socket(socket.AF_UNIX) as left:  # as a killed service leaves it
                left.bind(self.path)
            with concurrent.futures.ThreadPoolExecutor(6) as pool:
                started = list(pool.map(lambda _: self.start("--socket", self.path), range(6)))
            up = [process for process, lines in started if lines[0]]
            self.assertEqual(len(up), 1, started)
            for process, lines in started:
                if not lines[0]:
                    self.assertEqual(process.wait(timeout=10), 1)
            self.assertEqual(self.post("/script", "x = 1", self.token())[0], 200)
            up[0].terminate()
            up[0].wait(timeout=10)
            self.assertEqual(os.listdir(self.folder), [])

    def test_what_may_stand_where_the_token_goes(self):
        """What a service that was killed can have left there, and nothing else, is replaced."""
        path = self.path + ".token"
        for contents, mode, reason in [("0" * 32 + "\n", 0o600, None), ("", 0o600, None),
                                       ("notes\n", 0o600, "does not hold 32 to 256"),
                                       ("0" * 32 + "\n", 0o644, "can be read by others")]:
            with self.subTest(contents, mode=mode):
                with open(path, "w") as file:
                    file.write(contents)
                os.chmod(path, mode)
                if not reason:
                    process, _ = self.start("--socket", self.path)
                    self.assertNotEqual(self.token(), "0" * 32)
                    process.terminate()
                    process.wait(timeout=10)
                    self.assertEqual(os.listdir(self.folder), [])
                    continue
                done = subprocess.run([*service_test.program, "serve", "--socket", self.path],
                                      capture_output=True, timeout=20, text=True,
                                      stdin=subprocess.DEVNULL)
                self.assertEqual((done.returncode, done.stdout), (1, ""))
                self.assertIn(f"script service: the token file {path} {reason}", done.stderr)
                with open(path) as file:
                    self.assertEqual(file.read(), contents)
                self.assertEqual(os.listdir(self.folder), ["socket.token"])
                os.remove(path)
        os.symlink("elsewhere", path)
        done = subprocess.run([*service_test.program, "serve", "--socket", self.path],
                              capture_output=True, timeout=20, stdin=subprocess.DEVNULL)
        self.assertEqual(done.returncode, 1)
        self.assertEqual(os.listdir(self.folder), ["socket.token"])

    def test_what_is_no_socket_is_not_touched(self):
        with open(self.path, "w") as file:
            file.write("mine")
        done = subprocess.run([*service_test.program, "serve", "--socket", self.path],
                              capture_output=True, timeout=60, stdin=subprocess.DEVNULL)
        self.assertEqual(done.returncode, 1)
        with open(self.path) as file:
            self.assertEqual(file.read(), "mine")

    def test_with_a_port_too(self):
        _, lines = self.start("--socket", self.path, "--port", "0")
        self.assertRegex(lines[1], r"^listening on http://127\.0\.0\.1:[1-9]")

    def test_a_token_file_of_ones_own(self):
        path = os.path.join(self.folder, "token")
        process, lines = self.start("--socket", self.path, "--token-file", path)
        self.assertEqual(lines[-1], f"token file: {path}")
        self.assertEqual(os.stat(path).st_mode & 0o777, 0o600)
        self.assertEqual(self.post("/script", "x = 1", self.token(path))[0], 200)
        process.terminate()
        process.wait()
        self.assertFalse(os.path.exists(path))
        # Nobody knows who made one that a service has left which was killed.
        process, _ = self.start("--socket", self.path, "--token-file", path)
        before = self.token(path)
        process.kill()
        process.wait()
        process, _ = self.start("--socket", self.path, "--token-file", path)
        self.assertEqual(self.post("/script", "x = 1", before)[0], 200)
        process.terminate()
        process.wait()
        self.assertEqual(self.token(path), before)

    def test_a_token_that_was_there_before(self):
        path = os.path.join(self.folder, "token")
        with open(path, "w", opener=lambda name, flags: os.open(name, flags, 0o600)) as file:
            file.write("0123456789abcdefABCDEF0123456789xyz\n")
        process, _ = self.start("--socket", self.path, "--token-file", path)
        self.assertEqual(self.post("/script", "x = 1", self.token(path))[0], 200)
        process.terminate()
        process.wait()
        self.assertTrue(os.path.exists(path))
        # One that was made and never filled is nobody's.
        open(path, "w").close()
        process, _ = self.start("--socket", self.path, "--token-file", path)
        self.assertEqual(self.post("/script", "x = 1", self.token(path))[0], 200)
        process.terminate()
        process.wait()
        self.assertFalse(os.path.exists(path))
        for contents, mode, reason in [("0123456789abcdefABCDEF0123456789xyz", 0o644, b"others"),
                                       ("short", 0o600, b"32 to 256"), ("a b" * 20, 0o600, b"32")]:
            with open(path, "w") as file:
                file.write(contents)
            os.chmod(path, mode)
            done = subprocess.run([*service_test.program, "serve", "--token-file", path],
                                  capture_output=True, timeout=60, stdin=subprocess.DEVNULL)
            self.assertEqual(done.returncode, 1)
            self.assertIn(reason, done.stderr)

    def test_a_token_file_that_cannot_be(self):
        missing = os.path.join(self.folder, "nowhere", "token")
        pipe = os.path.join(self.folder, "pipe")
        os.mkfifo(pipe, 0o600)
        for path, reason in [(missing, "cannot be written: No such file or directory"),
                             ("/dev/zero", "is not a regular file"),
                             (pipe, "is not a regular file"),
                             (self.folder, "is not a regular file")]:
            done = subprocess.run([*service_test.program, "serve", "--port", "0", "--token-file",
                                   path], capture_output=True, timeout=20, text=True,
                                  stdin=subprocess.DEVNULL)
            self.assertEqual(done.returncode, 1)
            self.assertIn(f"script service: the token file {path} {reason}\n", done.stderr)

    def test_a_token_file_for_which_there_is_no_room(self):
        def no_file_may_grow():
            resource.setrlimit(resource.RLIMIT_FSIZE, (0, 0))

        path = os.path.join(self.folder, "token")
        done = subprocess.run([*service_test.program, "serve", "--port", "0", "--token-file", path],
                              capture_output=True, timeout=20, text=True, stdin=subprocess.DEVNULL,
                              preexec_fn=no_file_may_grow)
        self.assertEqual((done.returncode, done.stderr),
                         (1, f"script service: the token file {path} cannot be written: "
                             "File too large\n"))
        self.assertFalse(os.path.exists(path))

    def test_a_manager_of_services(self):
        """Sockets that were opened before the program was, and word when it is ready and ends."""
        notify = os.path.join(self.folder, "notify")
        with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as manager, \
                socket.socket(socket.AF_UNIX) as first, \
                socket.create_server(("127.0.0.1", 0)) as second:
            manager.bind(notify)
            manager.settimeout(30)
            first.bind(self.path)
            first.listen()
            port = second.getsockname()[1]
            process, lines = self.start_inherited(first, second, notify)
            self.assertEqual(lines[:2], ["listening on descriptor 3", "listening on descriptor 4"])
            self.assertEqual(manager.recv(100), b"READY=1")
            token = self.token(lines[-1].removeprefix("token file: "))
            self.assertEqual(self.post("/script", "x = 1", token)[0], 200)
            connection = http.client.HTTPConnection("127.0.0.1", port, timeout=30)
            with contextlib.closing(connection):
                connection.request("POST", "/script", "x = 1", {"X-Tavhost-Token": token})
                self.assertEqual(connection.getresponse().status, 200)
            process.terminate()
            self.assertEqual(manager.recv(100), b"STOPPING=1")
            self.assertEqual(process.wait(timeout=10), 143)
        self.assertTrue(os.path.exists(self.path), "it belongs to the manager")

    def start_inherited(self, first, second, notify):
        """As a manager does: the sockets as descriptors 3 and 4, their count and the process."""
        starter = ("import os, sys\n"
                   f"os.dup2({first.fileno()}, 103); os.dup2({second.fileno()}, 104)\n"
                   "os.dup2(103, 3); os.dup2(104, 4); os.closerange(5, 200)\n"
                   "os.environ.update(LISTEN_PID=str(os.getpid()), LISTEN_FDS='2')\n"
                   "os.execv(sys.argv[1], sys.argv[1:])\n")
        process = subprocess.Popen(
            ["/usr/bin/python3", "-c", starter, *service_test.program, "serve"],
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, stdin=subprocess.DEVNULL,
            pass_fds=[first.fileno(), second.fileno()], env={**os.environ, "NOTIFY_SOCKET": notify})
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.wait, 20)
        self.addCleanup(process.terminate)
        lines = []
        while not lines or not lines[-1].startswith("token file: "):
            line = process.stdout.readline().decode().strip()
            if not line:
                break
            lines.append(line)
        return process, lines


if __name__ == "__main__":
    service_test.main()
