#!/usr/bin/env python3
"""Tests of how programs are started under Wine."""

import sys
import tempfile
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
sys.path.insert(0, str(Path(__file__).resolve().parents[1]))
import wine  # noqa: E402

# Ends by the first exit code left in its file and says what else stands there.
PROGRAM = """
import pathlib, sys
file = pathlib.Path(sys.argv[1])
line, _, rest = file.read_text().partition("\\n")
file.write_text(rest)
code, _, words = line.partition(" ")
sys.stdout.write(words)
sys.exit(int(code))
"""


class StartedAgain(unittest.TestCase):
    def ends(self, *lines):
        """The exit code and the output, and how many of the lines are left."""
        with tempfile.TemporaryDirectory() as folder:
            file = Path(folder) / "ends"
            file.write_text("".join(line + "\n" for line in lines))
            done = wine.run([sys.executable, "-c", PROGRAM, file], timeout=60)
            return done.returncode, done.stdout.decode(), len(file.read_text().splitlines())

    def test_a_program_that_was_not_started(self):
        self.assertEqual(self.ends("66", "0 done", "1"), (0, "done", 1))
        self.assertEqual(self.ends("66", "66", "3 late", "1"), (3, "late", 1))

    def test_at_most_three_times(self):
        self.assertEqual(self.ends("66", "66", "66", "0"), (66, "", 1))

    def test_what_was_started_runs_once(self):
        self.assertEqual(self.ends("1", "0"), (1, "", 1))
        self.assertEqual(self.ends("66 words", "0"), (66, "words", 1))

    def test_the_whole_exit_code(self):
        self.assertTrue(wine.was_not_started(0xC0000142, b"", b""))
        self.assertFalse(wine.was_not_started(0xC0000005, b"", b""))


if __name__ == "__main__":
    unittest.main()
