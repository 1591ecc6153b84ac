"""The program under test: the real host with the real plug-in, in a folder of its own."""

import json
import os
import subprocess
import sys
import tempfile
from pathlib import Path

TESTS = Path(__file__).resolve().parent.parent
ROOT = TESTS.parent
sys.path.insert(0, str(TESTS))
import sanitizers  # noqa: E402
import wine  # noqa: E402

TIME_LIMIT_SECONDS = 120


class Reply:
    """What a run left; the code is None when it had to be ended."""

    def __init__(self, code, out, err):
        self.code, self.out, self.err = code, out, err

    def lines(self):
        return self.out.decode("utf-8", "surrogateescape").split("\n")


class Host:
    def __init__(self, program, machine=None):
        self.program = Path(program).resolve()
        self.machine = machine  # Wine, or None for this system itself

    def run(self, arguments, stdin=b"", files=(), faults=False):
        """Runs the program in a new empty folder that holds `files`: (name, bytes) pairs."""
        for _ in range(wine.ATTEMPTS):
            reply = self.run_once(arguments, stdin, files, faults)
            if not self.machine or not wine.was_not_started(reply.code, reply.out, reply.err):
                break
        return reply

    def run_once(self, arguments, stdin, files, faults):
        with tempfile.TemporaryDirectory(prefix="tavhost-", ignore_cleanup_errors=True) as base:
            work, home = Path(base) / "work", Path(base) / "home"
            work.mkdir()
            (home / "tmp").mkdir(parents=True)
            for name, content in files:
                (work / name).write_bytes(content)
            command = [str(self.program), *arguments]
            if self.machine:
                command = self.machine.command(command)
            # Files, not pipes: what a run leaves behind cannot keep this waiting.
            with tempfile.TemporaryFile() as out, tempfile.TemporaryFile() as err, \
                    tempfile.TemporaryFile() as words:
                words.write(stdin)
                words.seek(0)
                late = b""
                try:
                    code = subprocess.run(command, cwd=work, env=self.environment(home, faults),
                                          stdin=words, stdout=out, stderr=err,
                                          timeout=TIME_LIMIT_SECONDS).returncode
                except subprocess.TimeoutExpired:
                    code = None
                    late = b"not done after %d s\n" % TIME_LIMIT_SECONDS
                out.seek(0)
                err.seek(0)
                return Reply(code, out.read().replace(b"\r\n", b"\n"), err.read() + late)

    def environment(self, home, faults):
        env = {name: value for name, value in os.environ.items()
               if name not in ("DISPLAY", "WAYLAND_DISPLAY") and not name.startswith("XDG_")
               and not name.lower().endswith("_proxy")}
        env.update(LC_ALL="C.UTF-8", TZ="UTC", HOME=str(home), TMPDIR=str(home / "tmp"))
        if self.machine:
            env.update(self.machine.environment())
        return sanitizers.environment_for_faults(env) if faults else env

    def catalogue(self):
        """The families of the command reference, as the program itself tells them."""
        reply = self.run(["commands", "--json"])
        if reply.code != 0:
            sys.exit(f"tavhost commands failed:\n{reply.err.decode(errors='replace')}")
        return json.loads(reply.out)["families"]


def default_program(windows):
    return ROOT / ("build-windows/bin/tavhost.exe" if windows else "build/bin/tavhost")
