#!/usr/bin/env python3
"""What several programs append to one file of the database area at once is all there, on Windows too.

    tests/windows/appends_test.py [--tavhost PROGRAM]

Runs the Windows program under Wine. The same stands in tests/faults for the native one."""

import argparse
import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tests"))

import wine  # noqa: E402

PROGRAMS = 3
APPENDS = 50
TIME_LIMIT = 300  # seconds; nothing here takes long unless it hangs

SCRIPT = """
for i from 1 to APPENDS {
    FWRITE file:"db:\\\\log" text:("NUMBER:" + i + "\\n") append
    if ecode != 0 { print ecode }
}
"""


class Appends(unittest.TestCase):
    def test_nothing_is_lost(self):
        with tempfile.TemporaryDirectory() as folder:
            programs = []
            for number in range(PROGRAMS):
                script = Path(folder, f"{number}.tav")
                script.write_text(SCRIPT.replace("NUMBER", str(number))
                                  .replace("APPENDS", str(APPENDS)))
                command = [options.tavhost, "--db", "area", "run", script.name]
                programs.append(subprocess.Popen(
                    machine.command(list(map(str, command))), cwd=folder,
                    env={**os.environ, **machine.environment()}, stdin=subprocess.DEVNULL,
                    stdout=subprocess.PIPE, stderr=subprocess.STDOUT))
            for program in programs:
                out, _ = program.communicate(timeout=TIME_LIMIT)
                self.assertEqual((out, program.returncode), (b"", 0))
            lines = Path(folder, "area/0/log").read_text().splitlines()
            # Those of one program are in their order.
            for number in range(PROGRAMS):
                own = [line for line in lines if line.startswith(f"{number}:")]
                self.assertEqual(own, [f"{number}:{i}" for i in range(1, APPENDS + 1)])
            self.assertEqual(len(lines), PROGRAMS * APPENDS)
            self.assertEqual(list(Path(folder).rglob(".tavhost-*.tmp")), [])


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--tavhost", type=Path, default=ROOT / "build-windows/bin/tavhost.exe")
    options, rest = parser.parse_known_args()
    options.tavhost = options.tavhost.resolve()
    with wine.Wine(options.tavhost) as machine:
        unittest.main(argv=[sys.argv[0], *rest])
