#!/usr/bin/env python3
"""Several programs and one file of the database area, on Windows too: what they append is all there,
what a killed one leaves goes.

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

import waiting  # noqa: E402
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


HOLD = """
FWRITE open file:"db:\\\\log"
FWRITE text:"stored"
DIR_CREATE path:"open"
exist = 0
while exist == 0 { DIR_EXIST path:"close"; SLEEP ms:5 }
FWRITE close
"""


def start(folder, name, text):
    Path(folder, name).write_text(text)
    command = [options.tavhost, "--db", "area", "run", name]
    return subprocess.Popen(
        machine.command(list(map(str, command))), cwd=folder,
        env={**os.environ, **machine.environment()}, stdin=subprocess.DEVNULL,
        stdout=subprocess.PIPE, stderr=subprocess.STDOUT)


class Leftovers(unittest.TestCase):
    """What a killed program leaves in the area goes with the next one that looks there, what a
    living one has open stays."""

    def look(self, folder):
        out, _ = start(folder, "look.tav", "DB_FILE_LIST\nprint files").communicate(
            timeout=TIME_LIMIT)
        out = wine.LATE_REQUEST.sub(b"", out)
        self.assertEqual(out, b"log\n" if Path(folder, "area/0/log").exists() else b"\n")
        return list(Path(folder, "area/0").glob(".tavhost-*-*.tmp"))

    def test_they_go_and_what_is_open_stays(self):
        with tempfile.TemporaryDirectory() as folder:
            for ending in ("kill", "close"):
                holder = start(folder, "hold.tav", HOLD)
                waiting.until(Path(folder, "open").is_dir, "the file is open", TIME_LIMIT)
                self.assertEqual(len(self.look(folder)), 1)
                if ending == "kill":
                    holder.kill()
                else:
                    Path(folder, "close").mkdir()
                holder.communicate(timeout=TIME_LIMIT)
                Path(folder, "open").rmdir()
                self.assertEqual(self.look(folder), [])
            self.assertEqual(Path(folder, "area/0/log").read_text(), "stored")


class Appends(unittest.TestCase):
    def test_nothing_is_lost(self):
        with tempfile.TemporaryDirectory() as folder:
            programs = []
            for number in range(PROGRAMS):
                programs.append(start(folder, f"{number}.tav",
                                      SCRIPT.replace("NUMBER", str(number))
                                      .replace("APPENDS", str(APPENDS))))
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
