#!/usr/bin/env python3
"""Standard error has one way to it in the host, tavhost/base/report.h: what was printed before
stands before a message, and lines of threads stay whole. Nothing else writes there."""

import re
import sys
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "scripts"))
import check_includes  # noqa: E402

MENTION = re.compile(r"\b(?:stderr|cerr|wcerr|clog|wclog|perror|psignal|STDERR_FILENO|"
                     r"STD_ERROR_HANDLE)\b|\bstandard_write::Error\b|"
                     r"\b(?:write|writev|dprintf)\s*\(\s*2\b|/dev/(?:stderr|fd/2)\b")
LINE_COMMENT = re.compile(r"//[^\n]*")

# Who mentions it and writes no message there.
OTHERS = {
    "tavhost/base/trace.cpp": "a trace may be asked for on standard error: it is output, no message",
    "tavhost/base/standard_write_posix.cpp": "the last step of the ways of reports and traces",
    "tavhost/base/standard_write_windows.cpp": "the last step of the ways of reports and traces",
    "tavhost/app/interrupts_posix.cpp": "a signal may come while report.h holds what it needs",
    "tavhost/app/interrupts_windows.cpp": "so may the end of the time, on the system's own thread",
    "tavhost/app/out_of_memory.cpp": "what report.h does first may have led there",
    "tavhost/base/whole_file_posix.cpp": "asks whether it leads to a certain file",
    "tavhost/files/disk_posix.cpp": "what a script writes there by its path is output, no message",
    "tavhost/app/standard_streams_windows.cpp": "bytes go out as they are",
    "tavhost/loader/child_process_posix.cpp": "a child's standard error leads nowhere",
}


def mentions(path, text):
    """The lines of a source that mention standard error, as "path:line: text"."""
    return [f"{path}:{number}: {line.strip()}"
            for number, line in enumerate(text.splitlines(), 1)
            if MENTION.search(LINE_COMMENT.sub("", line))]


class StandardErrorTest(unittest.TestCase):
    def setUp(self):
        self.found = {}
        for path in check_includes.sources():
            if path.startswith("tavhost/") and not path.startswith("tavhost/base/report"):
                lines = mentions(path, (ROOT / path).read_text("utf-8", "replace"))
                if lines:
                    self.found[path] = lines

    def test_only_the_report_writes_there(self):
        strangers = [line for path, lines in self.found.items() if path not in OTHERS
                     for line in lines]
        self.assertEqual(strangers, [], "use tavhost/base/report.h")

    def test_every_exception_is_one(self):
        self.assertEqual(sorted(set(OTHERS) - set(self.found)), [])

    def test_a_mention_is_seen(self):
        for line in ('std::fprintf(stderr, "x");', "std::cerr << 1;", "std::clog << 1;",
                     "write(STDERR_FILENO, text, 1);", "standard_write::Error(text);",
                     'perror("x");', '::write (2, "x", 1);',
                     'dprintf(2, "x");', 'open("/dev/stderr", 1);'):
            self.assertEqual(mentions("a.cpp", "// one\n" + line), ["a.cpp:2: " + line])
        for line in ("// not on stderr", "int standardError = 0;", "report::Line(text);",
                     "write(20, text, 1);"):
            self.assertEqual(mentions("a.cpp", line), [])


if __name__ == "__main__":
    unittest.main()
