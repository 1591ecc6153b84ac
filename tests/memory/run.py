#!/usr/bin/env python3
"""Refuses requests for memory of whole programs, from their first to their end.

usage: run.py [--tavhost PROGRAM] [--preload LIBRARY] [--long] [--jobs N] [FILTER...]

Each program below runs again and again: with its first request refused, then its second, until a run
makes fewer. Whatever that leads to, it ends by an exit code and not by a signal, within its time; and
where it does not end as it would have, it says that there is no memory; a request to the service is
answered, or its connection closed. TAVHOST_SWEEP=3 refuses three in a row, as is always done for one
request to the service. Without --long some requests are left out, the same ones each time.
"""

import argparse
import concurrent.futures
import http.client
import json
import os
import signal
import subprocess
import sys
import tempfile
import time
from pathlib import Path

sys.dont_write_bytecode = True
HERE = Path(__file__).resolve().parent
ROOT = HERE.parents[1]
sys.path.insert(0, str(HERE.parent))
import children  # noqa: E402

TIME_LIMIT = 20     # seconds; a run takes some milliseconds
DENSE = 120         # the short form leaves out none of so many first requests, ...
STEP = 17           # ... and of the rest takes one in so many
MOST = 20_000       # requests; a program that makes more each time never ends
WORDS = (b"out of memory", b"for the memory there is", b"annot allocate memory",
         b"Resource temporarily unavailable")  # the last: of a thread
ENDED = b"the service answers no more"
UNHEARD = b"neither a reply nor the end of its connection"

SCRIPT = """func f(x) { return (x, "text " + x) }
l = f(1)
FWRITE file:"a.txt" text:"some text"
FREAD file:"a.txt" -> r
try { throw "caught" } catch e { print e.message, e.line }
EXECUTE "print 3"
INFOBOX "x"
print l, r.text, len(re_split("a,b", ","))
"""
MISTAKES = "FREAD fiel:\"a\"\nx = nothing + 1\nINFOBOX msg\nprint lenn(1)\n"
NOT_PARSED = "print 1\nx = (1, 2\n"

options = None


class Program:
    in_row = os.environ.get("TAVHOST_SWEEP", "1")  # requests that are refused
    step = STEP
    dense = DENSE

    def __init__(self, name, *arguments, stdin=b""):
        self.name, self.arguments, self.stdin = name, arguments, stdin

    def run(self, folder, environment, **more):
        """(exit code, output, errors)"""
        done = subprocess.run([str(options.tavhost), *self.arguments], input=self.stdin, cwd=folder,
                              env=environment, timeout=TIME_LIMIT, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, preexec_fn=children.end_with(os.getpid()), **more)
        return done.returncode, done.stdout, done.stderr


class OneRequest(Program):
    """The service, asked once and then ended."""

    def run(self, folder, environment, pass_fds=()):
        command = [str(options.tavhost), "serve", "--answers", "accept"]
        process = subprocess.Popen(command, cwd=folder, env=environment, stdin=subprocess.DEVNULL,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                   preexec_fn=children.end_with(os.getpid()), pass_fds=pass_fds)
        reply = b""
        try:
            line = process.stdout.readline().decode()
            token = process.stdout.readline().decode().removeprefix("token file: ").strip()
            if line.startswith("listening on") and token:
                reply = self.ask(int(line.rpartition(":")[2]), token)
            process.send_signal(signal.SIGTERM)
            errors = process.communicate(timeout=TIME_LIMIT)[1]
        except subprocess.TimeoutExpired:
            process.kill()
            process.communicate()
            raise
        # Who asks is told of it, or finds the connection closed.
        return process.returncode, reply, errors

    def ask(self, port, token):
        return self.ask_by(self.talk, port, token)

    @staticmethod
    def ask_by(talk, port, token):
        connection = http.client.HTTPConnection("127.0.0.1", port, timeout=TIME_LIMIT)
        try:
            return talk(connection, {"X-Tavhost-Token": Path(token).read_text().strip()})
        except TimeoutError:
            return UNHEARD
        except (OSError, http.client.HTTPException):
            return b"no reply: out of memory"
        finally:
            connection.close()

    @staticmethod
    def talk(connection, headers):
        connection.request("POST", "/script", "print 6 * 7", headers)
        return connection.getresponse().read()


class OneQuestion(OneRequest):
    """The service, whose script asks the client."""

    in_row = "3"
    step = 3

    @staticmethod
    def talk(connection, headers):
        script = 'QUERYBOX "Go on?" yes-no\nprint endbutton'
        connection.request("POST", "/script", script, {**headers, "X-Tavhost-Dialogs": "ask"})
        reply = connection.getresponse().read()
        question = json.loads(reply).get("question")
        if not question:
            return reply
        connection.request("POST", "/answer", question["answer"],
                           {**headers, "X-Tavhost-Question": question["id"]})
        return connection.getresponse().read()


class OneQuestionLongWithoutMemory(OneQuestion):
    """Not even why the script ended can be told; a request to end the program is kept all the same."""

    in_row = "5"
    step = 2
    dense = 0


class OneQuestionOnceWithoutMemory(OneQuestion):
    """What was refused once is there again at once: the service goes on, whatever that has hit."""

    in_row = "1"
    step = 1

    def ask(self, port, token):
        reply = super().ask(port, token)
        # What is refused may be a later request's: the one behind that has all it needs.
        later = [self.ask_by(OneRequest.talk, port, token) for _ in range(2)]
        return reply if any(b'"output":"42' in one for one in later) else ENDED


class OneRequestLongWithoutMemory(OneRequest):
    """The reserve is used up as well: what the service has to say has no memory either."""

    in_row = "3"
    step = 1


PROGRAMS = [
    Program("run", "run", "--answers", "accept", "--trace", "t.txt", "--record", "r.kel", "a.tav"),
    Program("run an error", "run", "-e", "x = 1\nfunc f() { return nothing }\nf()"),
    Program("run what does not parse", "run", "b.tav"),
    Program("run standard input", "run", "-", stdin=SCRIPT.replace("INFOBOX", "BEEP #").encode()),
    Program("send", "send", "GET_DISPLAY_SIZE", "SLEEP", 'FILE_EXISTS file:"a.tav"', "NO_SUCH"),
    Program("check", "check", "c.tav", "a.tav"),
    Program("check as data", "check", "--json", "c.tav"),
    Program("repl", "repl", stdin=b"x = 1\nx\nthrow 2\nprint x\n"),
    OneRequest("serve"),
    OneRequestLongWithoutMemory("serve, three in a row"),
    OneQuestion("serve, a question, three in a row"),
    OneQuestionLongWithoutMemory("serve, a question, five in a row"),
    OneQuestionOnceWithoutMemory("serve, a question, once"),
]


def environment_of(program, folder, at=0, told=-1):
    environment = {**os.environ, "HOME": str(folder), "LC_ALL": "C.UTF-8",
                   "XDG_RUNTIME_DIR": str(folder / "runtime"), "LD_PRELOAD": str(options.preload),
                   "TAVHOST_REFUSE_AT": str(at), "TAVHOST_REFUSED_TO": str(told),
                   "TAVHOST_REFUSE_IN_ROW": program.in_row}
    for name in ("DISPLAY", "WAYLAND_DISPLAY"):
        environment.pop(name, None)
    return environment


def prepare(folder):
    (folder / "runtime").mkdir(mode=0o700)
    for name, text in (("a.tav", SCRIPT), ("b.tav", NOT_PARSED), ("c.tav", MISTAKES)):
        (folder / name).write_text(text)


def run_refused(program, at):
    """(whether a request was refused, what went wrong or None)"""
    reader, writer = os.pipe()
    try:
        with tempfile.TemporaryDirectory(dir=options.folder) as folder:
            folder = Path(folder)
            prepare(folder)
            try:
                code, out, err = program.run(folder, environment_of(program, folder, at, writer),
                                             pass_fds=(writer,))
            except subprocess.TimeoutExpired:
                return True, f"does not end within {TIME_LIMIT} s"
        os.close(writer)
        writer = None
        refused = os.read(reader, 1) != b""
    finally:
        os.close(reader)
        if writer is not None:
            os.close(writer)
    if code < 0:
        return refused, f"ended by signal {-code}: {err[-500:]!r}"
    if out == UNHEARD:
        return refused, f"a request got {UNHEARD.decode()} within {TIME_LIMIT} s: {err[-500:]!r}"
    if out == ENDED:
        return refused, f"{ENDED.decode()}: {err[-500:]!r}"
    usual = program.usual
    if code != usual[0] and not any(word in out + err for word in WORDS):
        return refused, f"exit code {code}, not {usual[0]}, and no word of memory: {err[-500:]!r}"
    if err.count(b"tavhost: out of memory") > 1:
        return refused, f"says it more than once: {err[-500:]!r}"
    return refused, None


def requests(program):
    at = options.first
    while at < MOST:
        yield at
        at += 1 if options.long or at < program.dense else program.step


def sweep(program):
    """How many runs were refused something; raises AssertionError."""
    with tempfile.TemporaryDirectory(dir=options.folder) as folder:
        prepare(Path(folder))
        program.usual = program.run(Path(folder), environment_of(program, Path(folder)))
    count, found = 0, []
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        waiting = {}
        numbers = requests(program)
        ended = False
        while not ended or waiting:
            while not ended and len(waiting) < options.jobs * 2:
                at = next(numbers, None)
                if at is None:
                    raise AssertionError(f"{program.name}: it asks for more each time")
                waiting[pool.submit(run_refused, program, at)] = at
            done, _ = concurrent.futures.wait(waiting, return_when="FIRST_COMPLETED")
            for future in done:
                at = waiting.pop(future)
                refused, problem = future.result()
                ended = ended or not refused
                count += refused
                if problem:
                    found.append(f"{program.name}, request {at}: {problem}")
    return count, found


def main():
    global options
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--tavhost", type=Path, default=ROOT / "build/bin/tavhost")
    parser.add_argument("--preload", type=Path,
                        default=ROOT / "build/tests/memory/failing_preload.so")
    parser.add_argument("--long", action="store_true", help="every request")
    parser.add_argument("--first", type=int, default=1, help="the first request that is refused (1)")
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    parser.add_argument("filters", nargs="*", metavar="FILTER")
    options = parser.parse_args()
    options.tavhost, options.preload = options.tavhost.resolve(), options.preload.resolve()
    options.folder = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None
    runs = failed = 0
    for program in PROGRAMS:
        if options.filters and not any(part in program.name for part in options.filters):
            continue
        begin = time.monotonic()
        count, found = sweep(program)
        runs += count
        failed += len(found)
        for line in found:
            print(line, flush=True)
        if options.long:
            print(f"{program.name}: {count} runs in {time.monotonic() - begin:.0f} s", flush=True)
    print(f"{runs} runs without memory, {failed} failed")
    return 1 if failed or not runs else 0


if __name__ == "__main__":
    sys.exit(main())
