#!/usr/bin/env python3
"""Tests of the server that other tests fetch from."""

import sys
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "http"))
import server  # noqa: E402


class LongTexts(unittest.TestCase):
    def test_they_are_made_of_short_pieces(self):
        for charset in ("utf-8", "utf-16le", "shift_jis"):
            with self.subTest(charset):
                length, pieces = server.text_of(100, charset)
                lengths = [len(piece) for piece in pieces]
                self.assertEqual(sum(lengths), length)
                self.assertTrue(99_999_000 < length <= 100_000_000, length)
                self.assertLessEqual(max(lengths), server.LONGEST_PIECE)

    def test_the_pieces_are_the_text(self):
        for megabytes in (1, 3):
            length, pieces = server.text_of(megabytes, "utf-16le")
            line = server.PANGRAM.encode("utf-16le")
            self.assertEqual(b"".join(pieces), line * (megabytes * 1_000_000 // len(line)))
            self.assertEqual(length % len(line), 0)


if __name__ == "__main__":
    unittest.main()
