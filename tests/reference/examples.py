#!/usr/bin/env python3
"""Runs the example of every command and compares what it prints with what the reference says.

    tests/reference/examples.py [--tavhost PROGRAM] [--wine] [COMMAND…]
"""

import argparse
import concurrent.futures
import shlex
import sys
from pathlib import Path

sys.dont_write_bytecode = True

import host as hosts  # noqa: E402

WORKERS = 2


def lines(text):
    return "".join(f"    | {line}\n" for line in text.rstrip("\n").split("\n"))


def parse_only(host, example):
    reply = host.run(["check", "example.tav"], files=[("example.tav", example["script"].encode())])
    if reply.code != 0:
        return "does not parse:\n" + lines((reply.out + reply.err).decode("utf-8", "replace"))
    return None


def run(host, command):
    """What is wrong with the example of a command; None when nothing is."""
    example = command["example"]
    if "needs" in example and not command.get("crashes"):
        return parse_only(host, example)
    arguments = ["run", "--quiet", *shlex.split(example.get("options", ""))]
    files = [("example.tav", example["script"].encode())]
    if "answers" in example:
        files.append(("answers.kel", (example["answers"] + "\n").encode()))
        arguments += ["--answers", "answers.kel"]
    reply = host.run(arguments + ["example.tav"], files=files, faults=bool(command.get("crashes")))
    out = reply.out.decode("utf-8", "replace")
    wanted = example.get("output", "") + "\n"
    report = ""
    if (reply.code != 0) != bool(command.get("crashes")):
        report += f"    exit code {reply.code}\n"
    if out != wanted:
        report += f"    prints\n{lines(out)}    and not\n{lines(wanted)}"
    if report:
        report += lines(reply.err.decode("utf-8", "replace"))
    return report or None


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--tavhost", type=Path, metavar="PROGRAM", help="the program to test")
    parser.add_argument("--wine", action="store_true", help="a Windows program, run by Wine")
    parser.add_argument("commands", nargs="*", metavar="COMMAND", help="only these commands")
    options = parser.parse_args()
    program = options.tavhost or hosts.default_program(options.wine)
    if not program.exists():
        print(f"{program} is not there; build it first", file=sys.stderr)
        return 2
    sys.stdout.reconfigure(errors="backslashreplace")
    passed = failed = 0
    with (hosts.wine.Wine(program) if options.wine else hosts.wine.Nothing()) as machine, \
            concurrent.futures.ThreadPoolExecutor(WORKERS) as pool:
        host = hosts.Host(program, machine)
        commands = [c for family in host.catalogue() for c in family["commands"]
                    if not options.commands or c["name"] in options.commands]
        for command, problem in zip(commands, pool.map(lambda c: run(host, c), commands)):
            if problem:
                failed += 1
                print(f"FAILED the example of {command['name']}\n{problem}", end="")
            else:
                passed += 1
    print(f"{passed} passed, {failed} failed")
    return 1 if failed or not passed else 0


if __name__ == "__main__":
    sys.exit(main())
