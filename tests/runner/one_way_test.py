#!/usr/bin/env python3
"""What has one place in the tree, so that nobody writes it a second time."""

import re
import subprocess
import sys
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]


def sources(*folders):
    """Path and text of each C++ file in these folders."""
    listed = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard",
                             "--", *folders], cwd=ROOT, capture_output=True, text=True, check=True)
    for path in listed.stdout.split("\0"):
        if path.endswith((".cpp", ".h")) and (ROOT / path).exists():
            yield path, (ROOT / path).read_text(encoding="utf-8")


class OneWayTest(unittest.TestCase):
    def stands_only_in(self, homes, pattern, *folders):
        """`homes` hold what the pattern matches, and no other file does."""
        matches = re.compile(pattern)
        found = {path for path, text in sources(*folders) if matches.search(text)}
        self.assertEqual(found, set(homes))

    def test_letters_and_their_case(self):
        self.stands_only_in(
            {"tavhost/base/ascii.h"},
            r"u?'[AaZz09]'\s*(&&|\|\|)[^;]*[<>]=|[<>]=?\s*u?'[AZazFf09]'\s*(&&|\|\|)|"
            r"\bstd::(is(alpha|digit|alnum|space|xdigit|upper|lower)|to(lower|upper))\b|"
            r"\|\s*(32|0x20)\)?\s*[=!]=",
            "tavhost", "commands", "plugin")

    def test_text_of_a_view(self):
        self.stands_only_in({"tavhost/base/string_of.h"},
                            r"\bString(\s+\w+)?[({]\s*([\w.>-]+?)(\.|->)data\(\),"
                            r"\s*static_cast<long>\(\s*\2(\.|->)size\(\)\s*\)",
                            "tavhost", "commands", "plugin")

    def test_utf16(self):
        self.stands_only_in({"tavhost/base/utf16.cpp"}, r"\b(utf8to16|utf16to8|replace_invalid)\b",
                            "tavhost", "commands", "plugin")
        # What asks the system: texts in another code page, and the function itself where the system
        # has none, with the command that calls it.
        self.stands_only_in({"tavhost/http/http_converter_windows.cpp", "tavhost/windows/winhttp.cpp",
                             "tavhost/files/disk_windows.cpp", "commands/http.cpp"},
                            r"\b(MultiByteToWideChar|WideCharToMultiByte)\b",
                            "tavhost", "commands", "plugin")

    def test_literals(self):
        self.stands_only_in({"tavhost/base/literal.h"}, r'"0123456789abcdef"|"\\\\\\""',
                            "tavhost", "commands", "plugin")

    def test_diagnostics(self):
        self.stands_only_in({"tavhost/base/diagnostic.h"},
                            r"struct \w+ \{[^}]*\buint32_t line\b[^}]*\buint32_t column\b"
                            r"[^}]*\bstring message\b", "tavhost")

    def test_names_of_parameters(self):
        """Handlers name a parameter by its constant, in checks, reads and what stands between."""
        self.stands_only_in(set(), r"\b(parser|extra)(\.|->)\w+\(\s*\"|"
                            r"\((\*?parser|\*?extra),\s*(result,\s*\{?\s*)?\"", "commands")
        declared = re.compile(r"constexpr names::Literal \w+ = (\"[^\"]*\");")
        for path, text in sources("commands"):
            names = declared.findall(text)
            self.assertEqual(len(names), len(set(names)), path)

    def test_the_source_of_an_internal_error(self):
        """Neither the folder nor the compiler decides what a script's user is told."""
        self.stands_only_in(set(), r"__FILE__|__LINE__", "commands")
        for path, text in sources("commands"):
            for name in re.findall(r'kSourceFile\[\] = "([^"]*)"', text):
                self.assertEqual(name, path)


if __name__ == "__main__":
    sys.dont_write_bytecode = True
    unittest.main()
