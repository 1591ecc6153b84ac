#!/usr/bin/env python3
"""What can fail returns a base::Result: no header of the host hands an error out by a parameter."""

import re
import sys
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]

# A text that a function writes into, by a name that says so; an exit code likewise; an error by any
# name.
TEXT = re.compile(
    r"(?<!const )\b(?:std::w?string|std::optional<std::string>|SV::W?String|QString)\s*[&*]\s*"
    r"\w*(?:error|fault|reason|why|problem|mistake|failure|misfit|complaint|message)\w*\s*[,)=]",
    re.IGNORECASE)
ERROR = re.compile(r"(?<!const )\b(?<!::)(?:std::error_code|(?:\w+::)*\w*Error)\s*[&*]\s*\w+\s*[,)=]")
CODE = re.compile(r"\b(?:int|long|(?:std::)?u?int\d+_t)\s*[&*]\s*\w*(?:exit|error|fail)\w*\s*[,)=]",
                  re.IGNORECASE)
COMMENT = re.compile(r"//.*")


def out_parameters(text):
    """The parameters of a header that take an error out, as (line, text)."""
    found = []
    for number, line in enumerate(text.split("\n"), 1):
        code = COMMENT.sub("", line)
        found += [(number, match[0]) for kind in (TEXT, ERROR, CODE) for match in kind.finditer(code)]
    return found


class FailingResultsTest(unittest.TestCase):
    def test_no_header_of_the_host_hands_an_error_out_by_a_parameter(self):
        headers = sorted((ROOT / "tavhost").rglob("*.h"))
        self.assertGreater(len(headers), 100)
        found = [f"{header.relative_to(ROOT)}:{line}: {what}" for header in headers
                 for line, what in out_parameters(header.read_text("utf-8"))]
        self.assertEqual(found, [], "these return a base::Result (tavhost/base/result.h)")

    def test_each_kind_is_found(self):
        for declaration in ("bool Load(const std::string& path, std::string& error);",
                            "bool Load(std::string* error = nullptr);",
                            "                  std::string &whyNot);",
                            "bool Open(const QString& path, QString& error);",
                            "bool Open(SV::String& errorText, int count);",
                            "bool Parse(Text& text, kel::ParseError& at);",
                            "explicit Parser(base::Error& cause);",
                            "bool Find(std::error_code& failure);",
                            "static Host* Start(const Options& options, int& exitCode);",
                            "bool Send(long* errorCode);"):
            self.assertEqual(len(out_parameters(f"int first;\n{declaration}\n")), 1, declaration)
            self.assertEqual(out_parameters(f"int first;\n{declaration}\n")[0][0], 2)

    def test_what_goes_in_is_left_alone(self):
        for declaration in ("std::string ErrorJson(const std::string& error);",
                            "std::string ReplyJson(std::string_view output, const std::string* error);",
                            "bool Catch(const ScriptError& error, std::uint32_t base);",
                            "void AppendLine(std::string& text);",
                            "explicit ScriptError(std::string text);",
                            "base::Result<void> Load(const std::string& path);",
                            "int exitCode = 0;",
                            "// bool Load(std::string& error);"):
            self.assertEqual(out_parameters(declaration), [], declaration)


if __name__ == "__main__":
    sys.dont_write_bytecode = True
    unittest.main()
