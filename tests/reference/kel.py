"""Reads what the host writes as KEL: the result variables of a reply, and single values."""

import re

NUMBER = re.compile(r"-?\d+(?P<real>\.\d+)?(?P<exponent>[eE][+-]?\d+)?")
NAME = re.compile(r"[A-Za-z_](?:[A-Za-z0-9_]|-+(?=[A-Za-z0-9_]))*")
ESCAPES = {'"': '"', "\\": "\\", "n": "\n", "r": "\r", "t": "\t", "0": "\0"}


class NotKel(Exception):
    pass


class Reader:
    def __init__(self, text):
        self.text = text
        self.at = 0

    def fail(self, wanted):
        raise NotKel(f"{wanted} expected at {self.text[self.at:self.at + 40]!r}")

    def take(self, pattern, wanted):
        match = pattern.match(self.text, self.at)
        if not match:
            self.fail(wanted)
        self.at = match.end()
        return match

    def peek(self):
        return self.text[self.at:self.at + 1]

    def expect(self, character):
        if self.peek() != character:
            self.fail(repr(character))
        self.at += 1

    def string(self):
        self.expect('"')
        parts = []
        while True:
            end = re.compile(r'[^"\\]*').match(self.text, self.at).end()
            parts.append(self.text[self.at:end])
            self.at = end
            if self.peek() == '"':
                self.at += 1
                return "".join(parts)
            if not self.peek():
                self.fail("the closing quote")
            escape = self.text[self.at + 1:self.at + 2]
            if escape == "x":
                code = self.text[self.at + 2:self.at + 4]
                parts.append(bytes([int(code, 16)]).decode("utf-8", "surrogateescape"))
                self.at += 4
            elif escape in ESCAPES:
                parts.append(ESCAPES[escape])
                self.at += 2
            else:
                self.fail("an escape")

    def value(self):
        """(type, value); lists give a list of such pairs."""
        character = self.peek()
        if character == '"':
            return "string", self.string()
        if character == "(":
            self.at += 1
            items = []
            while self.peek() != ")":
                items.append(self.value())
                if self.peek() != ")":
                    self.expect(",")
                    while self.peek() == " ":
                        self.at += 1
            self.at += 1
            return "list", items
        match = NUMBER.match(self.text, self.at)
        if match:
            self.at = match.end()
            if match["real"] or match["exponent"]:
                return "real", float(match.group())
            return "integer", int(match.group())
        return "word", self.take(NAME, "a value").group()


def read_reply(line):
    """The result variables of a reply, in order: [(name, (type, value)), …]."""
    reader = Reader(line)
    variables = []
    while reader.at < len(line):
        reader.expect(" ")
        name = reader.take(NAME, "a name").group()
        reader.expect(":")
        variables.append((name, reader.value()))
    return variables


def read_value(text):
    reader = Reader(text)
    value = reader.value()
    if reader.at != len(text):
        reader.fail("the end")
    return value
