#!/usr/bin/env python3
"""Gives the whole program damaged inputs, one process each: scripts to `run`, `check` and `repl`,
commands to `send`, requests to `lsp`, libraries to `validate`, answers to `serve --answers`. However
an input is damaged, the program ends by itself, without a signal, and in time.

    tests/mutations/run.py [--tavhost PROGRAM] [--count N] [--first N] [--keep DIR]

Nothing is random: input N is the same each time, on each machine; it is made of the files that the
tests keep anyway. What fails is kept in a folder, with the command that takes it. `--first N
--count 1` runs one input again.
"""

import argparse
import concurrent.futures
import json
import os
import random
import re
import resource
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
from pathlib import Path

sys.dont_write_bytecode = True
HERE = Path(__file__).resolve().parent
ROOT = HERE.parents[1]
sys.path.insert(0, str(HERE.parent))
import sanitizers  # noqa: E402

SHORT = 1500      # inputs of the short form: some seconds
TIME_LIMIT = 30   # seconds; an input ends a run itself long before
RUN_LIMIT = "0.3"  # seconds that a script may run
NOBODY = 65534
LARGEST = 60_000  # bytes of an input
# Its whole purpose is to end the program by a signal.
DEADLY = re.compile(rb"CRASH")

WORDS = [word.encode() for word in (
    "0 -1 1 2147483647 2147483648 -2147483648 4294967296 1e308 1e-400 -0.0 9" + "9" * 400 + " "
    "( ) { } [ ] (: (:) () \" \\ ; , : . .. -> # \n \r\n \t == <= // % not and or in if else while for "
    "func return break continue try catch throw exit global test assert send print true false args "
    "EXECUTE GET_DISPLAY_SIZE TLB_CREATE PERCWIN_CREATE KEL_TO_XML LISTBOX BROWSER OUT "
    "str len split join sort range repeat format re_replace json_parse kel_parse push "
    "MESSAGE_BOX button:ok cells:{ select:( title:\" after: result:").split(" ")] + [
    b"\0", b"\xff\xfe", b"\xef\xbb\xbf", b"\xed\xa0\x80", b"\xf4\x90\x80\x80", b"\xc3", b" ", b""]
NESTED = [b"(", b"[0]", b".a", b"{", b"not ", b"-", b"a(", b"if 1 {", b"x = ", b"(a: ", b"{ A "]


def read(pattern):
    return [path.read_bytes() for path in sorted(HERE.parent.glob(pattern)) if path.is_file()]


class Seeds:
    """What inputs are made of."""

    def __init__(self, plugin):
        self.scripts = read("scripts/**/*.tav") + read("fuzz/corpus/script/*")
        self.answers = read("fuzz/corpus/answers/*")
        self.answers += [b"\n".join(re.findall(rb"^# answers: (.*)$", script, re.MULTILINE))
                         for script in self.scripts if b"# answers: " in script]
        self.notation = read("fuzz/corpus/notation/*")
        self.commands = [b"\n".join(line for line in script.split(b"\n")
                                    if re.match(rb"[A-Z_]{4,}", line)) for script in self.scripts]
        self.commands = [text for text in self.commands if text] + self.notation
        self.library = plugin.read_bytes()
        for name in ("scripts", "answers", "notation", "commands"):
            assert len(getattr(self, name)) > 5, name


def damaged(choice, seeds):
    """A seed, changed in one or a few ways."""
    data = bytearray(choice.choice(seeds)[:LARGEST])
    for _ in range(choice.choice((1, 1, 2, 3, 8))):
        at = choice.randrange(len(data) + 1)
        end = min(len(data), at + choice.choice((1, 2, 8, 64, 500)))
        way = choice.randrange(9)
        if way == 0 and data:
            data[min(at, len(data) - 1)] ^= 1 << choice.randrange(8)
        elif way == 1:
            del data[at:end]
        elif way == 2:
            data[at:at] = data[at:end] * choice.choice((1, 2, 50))
        elif way in (3, 4):
            data[at:at] = choice.choice(WORDS)
        elif way == 5:
            other = choice.choice(seeds)
            begin = choice.randrange(len(other) + 1)
            data[at:end] = other[begin:begin + choice.choice((5, 50, 500))]
        elif way == 6:
            del data[at:]
        elif way == 7:
            data[at:at] = choice.choice(NESTED) * choice.choice((3, 90, 1100, 9000))
        else:
            data[at:end] = bytes(choice.randrange(256) for _ in range(end - at))
    return bytes(data[:LARGEST])


def message(body, length=None):
    return b"Content-Length: %d\r\n\r\n%s" % (len(body) if length is None else length, body)


def language_input(choice, seeds):
    """A conversation of which one part or the script in it is damaged."""
    text = damaged(choice, seeds.scripts).decode("utf-8", "replace")
    document = {"uri": "file:///a.tav", "languageId": "tavscript", "version": 1, "text": text}
    position = {"line": choice.randrange(30), "character": choice.randrange(40)}
    place = {"textDocument": {"uri": "file:///a.tav"}, "position": position}
    calls = [("initialize", {"capabilities": {}}),
             ("textDocument/didOpen", {"textDocument": document}),
             ("textDocument/completion", place), ("textDocument/hover", place),
             ("textDocument/definition", place), ("textDocument/documentSymbol", place),
             ("shutdown", None)]
    parts = [message(json.dumps({"jsonrpc": "2.0", "id": i, "method": method, "params": params})
                     .encode()) for i, (method, params) in enumerate(calls)]
    if choice.randrange(2):
        index = choice.randrange(len(parts))
        parts[index] = damaged(choice, [parts[index]])
    return b"".join(parts)


def library_input(choice, seeds):
    """A library whose headers are damaged or that is cut; its code is never touched."""
    data = bytearray(seeds.library)
    if choice.randrange(2):
        return bytes(data[:choice.randrange(len(data))])
    for _ in range(choice.choice((1, 2, 5))):
        data[choice.randrange(0x40)] = choice.randrange(256)
    return bytes(data)


class Input:
    def __init__(self, number, seeds):
        choice = random.Random(number)
        way = number % 100
        self.number = number
        self.file, self.stdin = None, b""
        alone = ["--ui", "headless", "--timeout", RUN_LIMIT, "--dry-run"]
        accept = ["--answers", "accept", *alone]
        if way < 34:
            self.file = damaged(choice, seeds.scripts)
            self.arguments = [*accept, "run", "input"]
        elif way < 50:
            self.stdin = damaged(choice, seeds.commands)
            self.arguments = [*accept, "send", "-"]
        elif way < 66:
            self.file = damaged(choice, seeds.scripts)
            self.arguments = ["check", "input", *choice.choice(([], ["--json"]))]
        elif way < 80:
            self.stdin = damaged(choice, seeds.scripts)
            self.arguments = [*accept, "repl"]
        elif way < 90:
            self.stdin = language_input(choice, seeds)
            self.arguments = ["lsp"]
        elif way < 92:
            self.file = library_input(choice, seeds)
            self.arguments = ["validate", "./input"]
        else:
            self.file = damaged(choice, seeds.answers)
            self.arguments = ["serve", "--answers", "input", *alone]

    def is_deadly(self):
        return any(part and DEADLY.search(part) for part in (self.file, self.stdin))


def limit():
    """Of one process: what it asks for and cannot have, a script is told."""
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 26, 1 << 26))
    signal.signal(signal.SIGXFSZ, signal.SIG_IGN)


class Runner:
    def __init__(self, options):
        self.options = options
        self.seeds = Seeds(options.plugin)
        # A damaged script is not to reach what is not its own.
        self.user = {"user": NOBODY, "group": NOBODY, "extra_groups": []} if os.geteuid() == 0 else {}

    def command(self, given):
        return [str(self.options.tavhost), *given.arguments]

    def problem(self, given, folder):
        """What went wrong, or None."""
        if given.file is not None:
            (folder / "input").write_bytes(given.file)
        environment = {"HOME": str(folder), "TMPDIR": str(folder), "LC_ALL": "C.UTF-8",
                       "XDG_RUNTIME_DIR": str(folder), "PATH": os.environ["PATH"]}
        environment.update({name: value for name, value in
                            sanitizers.environment_for_faults().items() if name.endswith("_OPTIONS")})
        with tempfile.TemporaryFile() as errors:
            process = subprocess.Popen(self.command(given), cwd=folder, env=environment,
                                       stdin=subprocess.PIPE, stdout=subprocess.DEVNULL,
                                       stderr=errors, preexec_fn=limit, **self.user)
            try:
                process.communicate(given.stdin, timeout=TIME_LIMIT)
            except subprocess.TimeoutExpired:
                process.kill()
                process.communicate()
                return f"does not end within {TIME_LIMIT} s"
            if process.returncode >= 0:
                return None
            errors.seek(0)
            said = errors.read()[-2000:].decode(errors="replace")
        return f"ended by signal {-process.returncode}\n{said}"

    def keep(self, given, problem):
        folder = self.options.keep / str(given.number)
        folder.mkdir(parents=True, exist_ok=True)
        for name, data in (("input", given.file), ("stdin", given.stdin)):
            if data:
                (folder / name).write_bytes(data)
        command = shlex.join(self.command(given))
        (folder / "problem").write_text(f"{command}\n{problem}\n")
        print(f"input {given.number}, in {folder}: {command}\n  {problem.splitlines()[0]}", flush=True)

    def run_part(self, numbers):
        """How many passed, failed, and were left out."""
        passed = failed = left_out = 0
        for begin in range(0, len(numbers), 50):
            # A folder of their own for a few: some scripts leave something.
            folder = Path(tempfile.mkdtemp(prefix="tavhost-mutations-"))
            folder.chmod(0o777)
            try:
                for number in numbers[begin:begin + 50]:
                    given = Input(number, self.seeds)
                    if given.is_deadly():
                        left_out += 1
                        continue
                    problem = self.problem(given, folder)
                    if problem:
                        self.keep(given, problem)
                        failed += 1
                    else:
                        passed += 1
            finally:
                shutil.rmtree(folder, ignore_errors=True)
        return passed, failed, left_out


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--tavhost", default=ROOT / "build/bin/tavhost", type=Path)
    parser.add_argument("--plugin", type=Path, help="the library that is damaged for validate")
    parser.add_argument("--count", default=SHORT, type=int, help=f"how many inputs ({SHORT})")
    parser.add_argument("--first", default=0, type=int, help="the number of the first (0)")
    parser.add_argument("--keep", type=Path, default=ROOT / "build/mutations",
                        help="where inputs that fail are kept")
    parser.add_argument("--jobs", type=int, default=os.cpu_count())
    options = parser.parse_args()
    options.tavhost = options.tavhost.resolve()
    options.plugin = options.plugin or (
        options.tavhost.parents[1] / "lib/tavhost/plugins/libtavscript_commands.so")
    if not os.access(options.tavhost, os.X_OK):
        sys.exit(f"{options.tavhost} is not there; build it first")
    runner = Runner(options)
    numbers = range(options.first, options.first + options.count)
    parts = [numbers[begin:begin + 500] for begin in range(0, len(numbers), 500)]
    with concurrent.futures.ProcessPoolExecutor(options.jobs) as pool:
        results = list(pool.map(runner.run_part, parts))
    passed, failed, left_out = map(sum, zip(*results))
    if left_out:
        print(f"{left_out} inputs left out: they hold the command that ends the program")
    print(f"{passed} passed, {failed} failed")
    return 1 if failed or not passed else 0


if __name__ == "__main__":
    sys.exit(main())
