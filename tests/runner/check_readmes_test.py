#!/usr/bin/env python3
"""Tests of the check that READMEs name their files."""

import sys
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "scripts"))
import check_readmes  # noqa: E402


def problems(texts, *files):
    return check_readmes.problems_of(sorted([*texts, *files]), lambda path: texts[path])


class CheckReadmesTest(unittest.TestCase):
    def test_names_stems_and_groups(self):
        text = "| `walk.h`, `walk.cpp` | … |\n| `clock` | … |\n| `http_*` | … |"
        self.assertEqual(problems({"tavhost/a/README.md": text}, "tavhost/a/walk.h",
                                  "tavhost/a/walk.cpp", "tavhost/a/clock.h",
                                  "tavhost/a/clock_posix.cpp", "tavhost/a/clock_windows.cpp",
                                  "tavhost/a/http_client.h", "tavhost/a/CMakeLists.txt"), [])

    def test_a_file_that_is_not_named(self):
        text = "`clock` and walk, but not in backticks; `http_*`"
        self.assertEqual(problems({"tavhost/a/README.md": text}, "tavhost/a/clock.cpp",
                                  "tavhost/a/walk.cpp", "tavhost/a/clock_face.h",
                                  "tavhost/a/http.h"),
                         ["tavhost/a/README.md: does not name clock_face.h",
                          "tavhost/a/README.md: does not name http.h",
                          "tavhost/a/README.md: does not name walk.cpp"])

    def test_each_room_has_a_readme(self):
        self.assertEqual(problems({"commands/README.md": "`files.cpp`"}, "commands/files.cpp",
                                  "plugin/table.h", "host/base/string.h", "host/export.h",
                                  "tavhost/sv/x/y.cpp"),
                         ["host/base/: has no README.md", "plugin/: has no README.md",
                          "tavhost/sv/: has no README.md"])

    def test_folders_below_a_room(self):
        texts = {"tavhost/a/README.md": "`one/` and `two/b.cpp`", "tavhost/a/one/README.md": "`c`",
                 "tavhost/a/three/README.md": "`d`"}
        self.assertEqual(problems(texts, "tavhost/a/one/c.h", "tavhost/a/two/b.cpp",
                                  "tavhost/a/two/e.cpp", "tavhost/a/three/d.h"),
                         ["tavhost/a/README.md: does not name three/",
                          "tavhost/a/README.md: does not name two/e.cpp"])

    def test_a_name_must_stand_for_something(self):
        files = ("tavhost/a/walk.h",)
        self.assertEqual(problems({"tavhost/a/README.md": "`*`"}, *files),
                         ["tavhost/a/README.md: does not name walk.h"])
        self.assertEqual(problems({"tavhost/a/README.md": "`walk` `gone.h`"}, *files),
                         ["tavhost/a/README.md: names gone.h, which is not there"])


if __name__ == "__main__":
    unittest.main()
