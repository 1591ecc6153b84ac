#!/usr/bin/env python3
"""What a small source of the host pulls in: the headers of the ground floor and of the port stay
light, since every source pays for them."""

import subprocess
import sys
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
LIMIT = 25_000


class HeaderWeightTest(unittest.TestCase):
    def test_a_host_operation_of_a_few_lines_stays_light(self):
        """The trace, the port and one declaration: what nearly every source of the host includes."""
        out = subprocess.run(["c++", "-std=c++20", f"-I{ROOT}", "-E", ROOT / "tavhost/system/system.cpp"],
                             capture_output=True, text=True, check=True).stdout
        self.assertIn("ui::CurrentToolkit().ScreenSizePixel", out)
        self.assertLess(out.count("\n"), LIMIT)


if __name__ == "__main__":
    sys.dont_write_bytecode = True
    unittest.main()
