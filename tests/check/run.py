#!/usr/bin/env python3
"""Holds `tavhost check` against seeded mistakes, and against scripts that have none.

    tests/check/run.py [--tavhost PROGRAM] [KIND...]

Each file in seeds/ holds scripts parted by lines `---`. A comment line below a line says what is to
be found there, its caret under the place; nothing else may be found:

      FREAD fiel:"a.txt"
    #       ^ error: unknown parameter "fiel"

`# answers:` lines make an answers file, `# in answers LINE:COLUMN error: text` says what is wrong
with it. The text is a part of the message.

Then no example, no example of a command and no script test may be called mistaken, unless the
script test expects just that mistake.
"""

import argparse
import json
import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

sys.dont_write_bytecode = True
HERE = Path(__file__).resolve().parent
ROOT = HERE.parent.parent
LEAST_SEEDS = 120

EXPECTED = re.compile(r"^#\s*\^ (error|hint): ?(.*)$")
IN_ANSWERS = re.compile(r"^# in answers (\d+):(\d+) (error): (.*)$")
ANSWER = re.compile(r"^# answers: ?(.*)$")
# What a running script would report in the same words.
REPORTED = re.compile(r'(.* is missing|.* must be an? \w+, not an? \w+|unknown command "[^"]*"|'
                      r'unknown function "[^"]*"|the variable "[^"]*" has no value|expected .*|'
                      r'".*" takes .*, not \d+)')


class Checker:
    def __init__(self, program):
        self.program = program

    def findings(self, names, folder, answers=None):
        extra = ["--answers", answers] if answers else []
        done = subprocess.run([self.program, "check", "--json", *extra, *names], cwd=folder,
                              capture_output=True, text=True, errors="replace", timeout=120,
                              env={**os.environ, "LC_ALL": "C.UTF-8"})
        if done.returncode not in (0, 1):
            return done.returncode, done.stderr
        return done.returncode, json.loads(done.stdout)


def read_seed(text):
    """The script, the answers, and what is to be found: (file, line, column, severity, text)."""
    script, answers, wanted = [], [], []
    for line in text.split("\n"):
        if match := ANSWER.match(line):
            answers.append(match[1])
        elif match := IN_ANSWERS.match(line):
            wanted.append(("answers.kel", int(match[1]), int(match[2]), match[3], match[4]))
            line = "#"
        elif match := EXPECTED.match(line):
            # Below the last line of the script proper; the line itself is a comment and stays.
            above = len(script)
            while above and script[above - 1] == "#":
                above -= 1
            wanted.append(("seed.tav", above, line.index("^") + 1, match[1], match[2]))
            line = "#"
        script.append(line)
    return "\n".join(script) + "\n", answers, wanted


def check_seed(checker, name, text):
    """What is wrong, or None."""
    script, answers, wanted = read_seed(text)
    if not wanted:
        return f"{name}: expects nothing"
    with tempfile.TemporaryDirectory() as folder:
        Path(folder, "seed.tav").write_text(script)
        if answers:
            Path(folder, "answers.kel").write_text("\n".join(answers) + "\n")
        code, found = checker.findings(["seed.tav"], folder, "answers.kel" if answers else None)
    if isinstance(found, str):
        return f"{name}: exit code {code}\n{found}"
    left = list(found)
    problems = []
    for file, line, column, severity, part in wanted:
        match = next((f for f in left if (f["file"], f["line"], f["column"], f["severity"]) ==
                      (file, line, column, severity) and part in f["message"]), None)
        if match:
            left.remove(match)
        else:
            problems.append(f"  not found: {file}:{line}:{column}: {severity}: {part}")
    problems += ["  found: {file}:{line}:{column}: {severity}: {message}".format(**f) for f in left]
    wanted_code = 1 if any(severity == "error" for *_, severity, _ in wanted) else 0
    if code != wanted_code:
        problems.append(f"  exit code {code}, not {wanted_code}")
    return "\n".join([f"{name}:\n{script.rstrip()}"] + problems) if problems else None


def run_seeds(checker, kinds):
    passed, failures, mistakes = 0, [], 0
    for path in sorted((HERE / "seeds").glob("*.txt")):
        if kinds and path.stem not in kinds:
            continue
        for number, text in enumerate(path.read_text().split("\n---\n"), 1):
            problem = check_seed(checker, f"{path.stem} {number}", text)
            mistakes += len(read_seed(text)[2])
            if problem:
                failures.append(problem)
            else:
                passed += 1
    if not kinds and mistakes < LEAST_SEEDS:
        failures.append(f"only {mistakes} seeded mistakes")
    return passed, failures


def expectations_of(text):
    """What a script test expects to see, as one text."""
    return "\n".join(line.partition(":")[2] for line in text.split("\n")
                     if re.match(r"# expect( error contains| error)?(\[\w+\])?:", line))


def check_script_tests(checker):
    paths = sorted((ROOT / "tests/scripts").rglob("*.tav"))
    code, found = checker.findings([str(path) for path in paths], ROOT)
    if isinstance(found, str):
        return 0, [found]
    failures = []
    for finding in found:
        if finding["severity"] != "error":
            continue
        said = REPORTED.match(finding["message"])
        # What no running script reports is right by the reference alone; the rest must come true.
        text = Path(finding["file"]).read_text(errors="replace")
        said_text = said[0].split(";")[0] if said else ""
        place = ":{line}:{column}: error:".format(**finding)
        if said and place not in expectations_of(text) and not comes_true(said_text, text):
            failures.append("{file}:{line}:{column}: {message}".format(**finding))
    bad = {failure.split(":")[0] for failure in failures}
    return len(paths) - len(bad), failures


def comes_true(message, text):
    expected = expectations_of(text)
    if message in expected:
        return True
    # Told by a result code, or caught and counted: the test says that something fails there.
    return bool(re.search(r"ecode|catch|send ", text)) and "expect" in text


def check_examples(checker):
    """Every example, also those of the commands."""
    failures, count = [], 0
    with tempfile.TemporaryDirectory() as folder:
        done = subprocess.run([checker.program, "commands", "--json"], capture_output=True, text=True,
                              check=True)
        names = []
        for family in json.loads(done.stdout)["families"]:
            for command in family["commands"]:
                Path(folder, command["name"] + ".tav").write_text(command["example"]["script"])
                names.append(command["name"] + ".tav")
        for names, where in ((names, folder),
                             (sorted(str(p) for p in (ROOT / "examples").rglob("*.tav")), ROOT)):
            count += len(names)
            _, found = checker.findings(names, where)
            failures += [found] if isinstance(found, str) else [
                "{file}:{line}:{column}: {message}".format(**f) for f in found
                if f["severity"] == "error"]
    return count - len(failures), failures


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--tavhost", type=Path, default=ROOT / "build/bin/tavhost")
    parser.add_argument("kinds", nargs="*", metavar="KIND")
    options = parser.parse_args()
    checker = Checker(str(options.tavhost.resolve()))
    passed, failures = run_seeds(checker, options.kinds)
    if not options.kinds:
        for more in (check_examples, check_script_tests):
            more_passed, more_failures = more(checker)
            passed += more_passed
            failures += more_failures
    for failure in failures:
        print(failure)
    print(f"{passed} passed, {len(failures)} failed")
    return 1 if failures or not passed else 0


if __name__ == "__main__":
    sys.exit(main())
