#!/usr/bin/env python3
"""The script service under a thousand clients that come, go, hang, send garbage, leave and answer
questions, while one honest client has each of its replies in time.

usage: soak.py [--tavhost PROGRAM] [--seconds N]
"""
import argparse
import asyncio
import json
import os
import resource
import sys
import time

sys.dont_write_bytecode = True
HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, HERE)
sys.path.insert(0, os.path.dirname(HERE))
import sanitizers  # noqa: E402
import service_test  # noqa: E402
import waiting  # noqa: E402

HONEST_BOUND = 10  # seconds: a question that is left holds the others for two
ANY_BOUND = 60  # and each other reply that was not given up comes within this
# What the program may have grown by; 3 MiB were seen. What replies of 8 MiB took has to be given back.
MEMORY_BOUND = 8 << 20
MORE_DESCRIPTORS = 2  # than at the start: what the program opens once
MIB = 1 << 20

# How many clients of each kind there are.
HANGING, TALKING, GARBAGE, LEAVING, ASKING, SLOW = 300, 300, 250, 100, 45, 4
GARBAGE_TEXTS = [b"\x00\x01\x02", b"GET\r\n\r\n", b"\x16\x03\x01\x02\x00", b"x" * 20000,
                 b"POST /script HTTP/1.1\r\nHost: example.com\r\n\r\n",
                 b"POST /script HTTP/1.1\r\nA: b\r\n c\r\n\r\n"]


class Soak:
    def __init__(self, service, seconds):
        self.service = service
        self.token = service.token
        self.seconds = seconds
        self.ends = time.monotonic() + seconds
        self.latencies = []
        self.replies = self.refused = 0
        self.lost = []

    def goes_on(self):
        return time.monotonic() < self.ends

    def request(self, path, text, *fields, token=None):
        lines = [f"POST {path} HTTP/1.1", f"Host: 127.0.0.1:{self.service.port}",
                 f"X-Tavhost-Token: {token or self.token}", f"Content-Length: {len(text)}", *fields]
        return ("\r\n".join(lines) + "\r\n\r\n" + text).encode()

    async def connect(self):
        return await asyncio.open_connection("127.0.0.1", self.service.port)

    async def read(self, reader):
        """The next reply: its status and its JSON."""
        head = await reader.readuntil(b"\r\n\r\n")
        if head.startswith(b"HTTP/1.1 100 "):
            return await self.read(reader)
        length = int(head.lower().partition(b"content-length: ")[2].partition(b"\r\n")[0])
        return int(head.split()[1]), json.loads(await reader.readexactly(length))

    async def post(self, connection, *request, **more):
        """As one who waits for the reply: it has to come."""
        reader, writer = connection
        try:
            writer.write(self.request(*request, **more))
            reply = await asyncio.wait_for(self.read(reader), ANY_BOUND)
        except (OSError, EOFError, asyncio.TimeoutError) as failure:
            self.lost.append(f"{request[:2]}: {failure!r}")
            raise
        self.replies += 1
        self.refused += reply[0] == 503
        return reply

    def expect(self, holds, what):
        if not holds:
            self.lost.append(f"wrong: {what}")

    async def honest(self):
        connection = await self.connect()
        count = 0
        while self.goes_on():
            count += 1
            begin = time.monotonic()
            status, reply = await self.post(connection, "/script", f"x = {count}")
            seconds = time.monotonic() - begin
            self.latencies.append(seconds)
            self.expect(seconds < HONEST_BOUND, f"the honest client waited {seconds:.1f} s")
            self.expect(status == 503 or reply["variables"] == {"x": count, "args": []}, reply)
            await asyncio.sleep(0.005)
        connection[1].close()

    async def talking(self, number):
        """Comes, says something or much, keeps its connection for a while, goes."""
        while self.goes_on():
            connection = await self.connect()
            for i in range(1 + number % 4):
                status, reply = await self.post(connection, "/script", f"x = {number + i}")
                self.expect(status == 503 or reply["variables"]["x"] == number + i, reply)
                await asyncio.sleep(0.5 + number % 7 / 4)
            connection[1].close()

    async def hanging(self, number):
        while self.goes_on():
            _, writer = await self.connect()
            if number % 2:
                writer.write(b"POST /script HTTP/1.1\r\nHost: ")
            await asyncio.sleep(min(5 + number % 10, max(self.ends - time.monotonic(), 0)))
            writer.close()

    async def garbage(self, number):
        while self.goes_on():
            reader, writer = await self.connect()
            try:
                text = GARBAGE_TEXTS[number % len(GARBAGE_TEXTS)]
                if number % 3 == 0:
                    text = self.request("/script", "x = 1", token="0" * 32)
                writer.write(text)
                await asyncio.wait_for(reader.read(), 5)
            except (OSError, asyncio.TimeoutError):
                pass
            writer.close()
            await asyncio.sleep(0.5 + number % 5 / 5)

    async def leaving(self, number):
        """Does not wait for its reply. One of them leaves an open question, some a running script."""
        while self.goes_on():
            reader, writer = await self.connect()
            if number == 0:
                writer.write(self.request("/script", 'INFOBOX "?"', "X-Tavhost-Dialogs: ask 3600"))
                try:
                    await asyncio.wait_for(self.read(reader), ANY_BOUND)
                except (OSError, EOFError):
                    pass
            else:
                script = "while 1 { }" if number == 1 else "x = 1"
                writer.write(self.request("/script", script) + b"\r\n" * (number % 2))
                await asyncio.sleep(0.01 * (number % 4))
            writer.close()
            await asyncio.sleep(10 if number < 2 else 1 + number % 10 / 5)

    async def asking(self, number):
        while self.goes_on():
            connection = await self.connect()
            status, reply = await self.post(connection, "/script",
                                            f'INFOBOX "?"\nprint {number}',
                                            "X-Tavhost-Dialogs: ask 60")
            if status == 200:
                if number % 2:  # on another connection, at once
                    connection[1].close()
                    connection = await self.connect()
                status, reply = await self.post(connection, "/answer", "MESSAGE_BOX",
                                                "X-Tavhost-Question: " + reply["question"]["id"])
                self.expect((status, reply["output"]) == (200, f"{number}\n"), reply)
            connection[1].close()
            await asyncio.sleep(2 + number % 5)

    async def slow(self, number):
        """Reads a long reply in small pieces, for longer than a client may read nothing."""
        while self.goes_on():
            reader, writer = await self.connect()
            writer.write(self.request("/script", 't = "x"\nfor i from 1 to 23 { t = t + t }\nprint t'
                                                 '\nt = ""', "Connection: close"))
            size, busy = 0, False
            while self.goes_on() and (piece := await reader.read(65536)):
                busy = busy or piece.startswith(b"HTTP/1.1 503 ")
                size += len(piece)
                await asyncio.sleep(0.3)
            self.expect(size > 8388608 or busy or not self.goes_on(),
                        f"a slow client got {size} bytes")
            writer.close()

    async def run(self):
        kinds = [(self.hanging, HANGING), (self.talking, TALKING), (self.garbage, GARBAGE),
                 (self.leaving, LEAVING), (self.asking, ASKING), (self.slow, SLOW)]
        clients = [self.honest()]
        for kind, count in kinds:
            clients += [kind(number) for number in range(count)]
        print(f"{len(clients)} clients for {self.seconds} s")
        results = await asyncio.gather(*clients, return_exceptions=True)
        for result in results:
            if isinstance(result, Exception):
                self.lost.append(repr(result))


def resident(process):
    with open(f"/proc/{process.pid}/statm") as file:
        return int(file.read().split()[1]) * 4096


def descriptors(process):
    return len(os.listdir(f"/proc/{process.pid}/fd"))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--tavhost", default=os.path.join(service_test.ROOT, "build/bin/tavhost"))
    parser.add_argument("--seconds", type=int, default=60)
    options = parser.parse_args()
    hard = resource.getrlimit(resource.RLIMIT_NOFILE)[1]
    resource.setrlimit(resource.RLIMIT_NOFILE, (4096 if hard < 0 else min(4096, hard), hard))
    service_test.program[:] = [options.tavhost]
    service = service_test.Service("--quiet")
    at_first = descriptors(service.process)

    def rest():
        """All connections are closed: what they held is no growth of the program."""
        waiting.until(lambda: descriptors(service.process) <= at_first + MORE_DESCRIPTORS,
                      "the connections are closed")

    # A first short round, so that what is kept ready for use is there when it is measured.
    first = Soak(service, min(5, options.seconds / 4))
    asyncio.run(first.run())
    waiting.until(lambda: service.post("/script", "x = 1")[0] == 200, "the first round is over")
    rest()
    before = resident(service.process)
    soak = Soak(service, options.seconds)
    asyncio.run(soak.run())
    problems = first.lost + soak.lost
    try:
        rest()
    except AssertionError:
        problems.append(f"{descriptors(service.process)} descriptors, at first {at_first}")
    grown = resident(service.process) - before
    if grown > MEMORY_BOUND and not sanitizers.are_in_use():
        problems.append(f"the program has grown by {grown / MIB:.1f} MiB")
    if not soak.latencies:
        problems.append("the honest client had no reply")
    times = sorted(soak.latencies) or [0]
    print(f"{soak.replies / options.seconds:.0f} replies a second, {soak.refused} of "
          f"{soak.replies} were 503; the honest client waited {times[len(times) // 2] * 1e3:.1f} ms "
          f"(p50), {times[len(times) * 99 // 100] * 1e3:.1f} ms (p99), {times[-1] * 1e3:.1f} ms at "
          f"most; memory {before / MIB:.1f} MiB, {grown / MIB:+.1f} at the end; descriptors "
          f"{at_first}, then {descriptors(service.process)}")
    service.stop()
    for problem in problems[:20]:
        print(f"FAILED: {problem}")
    if len(problems) > 20:
        print(f"and {len(problems) - 20} more")
    sys.exit(bool(problems))


if __name__ == "__main__":
    main()
