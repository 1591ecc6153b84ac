#!/usr/bin/env python3
"""Tries every parameter of every command with values of every kind, absent, empty and extreme, in
the three result modes, with type checking on and off, and compares what comes with the command
reference.

    tests/reference/sweep.py [--tavhost PROGRAM] [--wine] [--short] [COMMAND…]
"""

import argparse
import sys
from pathlib import Path

sys.dont_write_bytecode = True

import host as hosts  # noqa: E402
from cases import collect  # noqa: E402
from drivers import ScriptMode, TextMode  # noqa: E402

LONG_DOUBLINGS = 20  # a string of 1 MiB where the script makes it
LONG_IN_TEXT = 1 << 16  # and this long where it stands in the text
SHOWN_FAILURES = 40


def check_variables(case, outcome):
    """What is wrong with the result variables of a command that was carried out."""
    command = case.command
    described = {}
    for result in command["results"]:
        described["variable" if "named-by" in result else result["name"]] = result
    for name, (kind, value) in outcome.variables.items():
        result = described.get(name)
        if result is None:
            yield f"sets {name}, which the reference does not list"
        elif kind not in (result["type"], result.get("also")):
            yield f"sets {name} to a value of type {kind}, not {result['type']}"
        elif "values" in result and str(value) not in result["values"]:
            yield f"sets {name} to {value!r}, which the reference does not list"
    listed = [name for name in described if name in outcome.variables]
    if listed != [name for name in outcome.variables if name in described]:
        yield f"sets {', '.join(outcome.variables)} in another order than the reference"
    for name, result in described.items():
        if result["when"] == "always" and name not in outcome.variables:
            yield f"does not set {name}"


def problems_of(case, outcome, checking):
    if outcome.died:
        yield "the program ended before or in it"
        return
    wanted = case.error if checking else None
    if outcome.error != wanted:
        yield f"error {outcome.error!r}, expected {wanted!r}"
        return
    if wanted is None:
        yield from check_variables(case, outcome)
    elif outcome.variables:
        yield f"a failed check, yet it sets {', '.join(outcome.variables)}"


class Report:
    def __init__(self):
        self.passed = self.failed = 0

    def failure(self, text):
        self.failed += 1
        if self.failed <= SHOWN_FAILURES:
            print(f"FAILED {text}", flush=True)

    def case(self, case, mode, checking, problems):
        if not problems:
            self.passed += 1
            return
        switch = "on" if checking else "off"
        self.failure(f"{case.command['name']}, {case.title} ({mode.name}, checking {switch})")
        if self.failed <= SHOWN_FAILURES:
            shown = case.text(in_script=True)
            print(f"    {shown[:200]}")
            for problem in problems:
                print(f"    {problem[:400]}")


def compare_names(host, commands, report):
    """The reference and the plug-in's table know the same commands."""
    reply = host.run(["send", 'GET_MP_COMMANDS "TavScript"'])
    text = reply.out.decode().partition('commands:"')[2].partition('"')[0]
    table = text.split(" ")
    described = [command["name"] for command in commands]
    for name in sorted(set(table) ^ set(described)):
        report.failure(f"{name} stands in the {'table' if name in table else 'reference'} alone")
    if len(table) != len(set(table)):
        report.failure("a command stands twice in the table")
    if not report.failed:
        report.passed += 1


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--tavhost", type=Path, metavar="PROGRAM", help="the program to test")
    parser.add_argument("--wine", action="store_true", help="a Windows program, run by Wine")
    parser.add_argument("--short", action="store_true", help="fewer cases")
    parser.add_argument("commands", nargs="*", metavar="COMMAND", help="only these commands")
    options = parser.parse_args()
    program = options.tavhost or hosts.default_program(options.wine)
    if not program.exists():
        print(f"{program} is not there; build it first", file=sys.stderr)
        return 2
    report = Report()
    sys.stdout.reconfigure(errors="backslashreplace")
    with (hosts.wine.Wine(program) if options.wine else hosts.wine.Nothing()) as machine:
        host = hosts.Host(program, machine)
        commands = [c for family in host.catalogue() for c in family["commands"]]
        compare_names(host, commands, report)
        if options.commands:
            commands = [c for c in commands if c["name"] in options.commands]
        cases, left_out = [], []
        for command in commands:
            if command.get("crashes"):
                continue
            collection = collect(command, "x" * LONG_IN_TEXT, options.short)
            cases += collection.cases
            left_out += collection.left_out
        modes = [TextMode(host), ScriptMode(host, False, LONG_DOUBLINGS),
                 ScriptMode(host, True, LONG_DOUBLINGS)]
        for mode in modes:
            for checking in (True, False):
                outcomes, end = mode.run(cases, checking)
                if end:
                    report.failure(f"the run ({mode.name}, checking {'on' if checking else 'off'}): {end}")
                for case, outcome in zip(cases, outcomes):
                    report.case(case, mode, checking, list(problems_of(case, outcome, checking)))
    if report.failed > SHOWN_FAILURES:
        print(f"... and {report.failed - SHOWN_FAILURES} more failures")
    for line in left_out:
        print(f"left out: {line}")
    print(f"{report.passed} passed, {report.failed} failed")
    return 1 if report.failed or not report.passed else 0


if __name__ == "__main__":
    sys.exit(main())
