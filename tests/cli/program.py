"""The program under test, run in a new folder for each test."""

import os
import subprocess
import tempfile
import unittest
from pathlib import Path

TIME_LIMIT = 30  # seconds; nothing here takes long unless it hangs
sanitized = False  # the program was built with sanitizers


class Result:
    def __init__(self, code, out, err):
        self.code, self.out, self.err = code, out, err

    def __repr__(self):
        return f"exit {self.code}\nout: {self.out!r}\nerr: {self.err!r}"


class ProgramTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        # Not the dialogs of the desktop on which the tests run.
        self.environment = {**os.environ, "HOME": folder.name, "LC_ALL": "C.UTF-8",
                            "TAVHOST_FILE_DIALOGS": "own"}
        for name in ("DISPLAY", "WAYLAND_DISPLAY", "XDG_STATE_HOME", "XDG_DATA_HOME"):
            self.environment.pop(name, None)

    @property
    def program(self):
        return os.environ["TAVHOST"]

    def file(self, name, content):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content if isinstance(content, bytes) else content.encode())
        return name

    def start(self, *arguments, **more):
        settings = {"stdin": subprocess.DEVNULL, "stdout": subprocess.PIPE,
                    "stderr": subprocess.PIPE, "cwd": self.folder, "env": self.environment, **more}
        return subprocess.Popen([self.program, *arguments], **settings)

    def run_program(self, *arguments, stdin=b"", **more):
        stdin = stdin if isinstance(stdin, bytes) else stdin.encode()
        process = self.start(*arguments, stdin=subprocess.PIPE, **more)
        try:
            out, err = process.communicate(stdin, timeout=TIME_LIMIT)
        except subprocess.TimeoutExpired:
            process.kill()
            process.communicate()
            raise
        decode = lambda data: (data or b"").decode("utf-8", "surrogateescape")
        return Result(process.returncode, decode(out), decode(err))

    def expect(self, arguments, out="", err="", code=0, **more):
        result = self.run_program(*arguments, **more)
        self.assertEqual((result.out, result.err, result.code), (out, err, code))
        return result

    def expect_usage_error(self, arguments, message, subcommand=None):
        """Exit code 2, nothing on standard output, the message and where help is."""
        result = self.run_program(*arguments)
        command = "tavhost" + (" " + subcommand if subcommand else "")
        self.assertEqual((result.out, result.code), ("", 2), result)
        self.assertEqual(result.err, f"tavhost: {message}\nTry '{command} --help'.\n")
