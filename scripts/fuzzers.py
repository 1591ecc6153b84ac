"""Runs the fuzzers: the same inputs each time, or new ones for as long as one likes.

What `make test` says must depend on the tree alone, so there a fuzzer replays its kept corpus and
goes on from it by a fixed number of runs with a fixed seed. Only `make fuzz` looks for what nobody
has seen before.
"""

import functools
import random
import re
import subprocess
import tempfile
from pathlib import Path

SEED = 1
# About twenty seconds of a processor each; a fuzzer without a row here makes the least.
LEAST_RUNS = 10000
RUNS = {"answers": 250000, "http": 12000, "notation": 300000, "request": 60000, "script": 24000,
        "table": 130000}

# A run that hangs or eats memory is a finding.
LIMITS = ("-timeout=20", "-rss_limit_mb=3000", "-print_final_stats=1")


class Fuzzer:
    """A program `<stem>_fuzz` with its kept corpus and its dictionary, if it has one."""

    def __init__(self, program, tests):
        self.program = Path(program)
        self.stem = self.program.name.removesuffix("_fuzz")
        self.kept = tests / "fuzz/corpus" / self.stem
        self.dictionary = tests / "fuzz" / f"{self.stem}.dict"

    def _command(self, found, *options):
        dictionary = [f"-dict={self.dictionary}"] if self.dictionary.exists() else []
        return [str(self.program), *LIMITS, *dictionary, f"-artifact_prefix={found}/crash-",
                *options]

    def fixed_command(self, found, seeds):
        """Reads no folder, whose order would be the file system's, and writes none; `seeds` is the
        file that `write_seeds` makes. Comparisons are not watched: what they compare can be
        addresses, which differ from run to run."""
        runs = RUNS.get(self.stem, LEAST_RUNS)
        return self._command(found, f"-seed={SEED}", f"-runs={runs}", "-use_cmp=0",
                             f"-seed_inputs=@{seeds}")

    def exploring_command(self, found, seconds, seed):
        """Keeps in `found` what reaches something new, and goes on from there the next time."""
        return self._command(found, f"-seed={seed}", f"-max_total_time={seconds}", str(found),
                             *([str(self.kept)] if self.kept.is_dir() else []))

    def write_seeds(self, path):
        kept = sorted(self.kept.iterdir()) if self.kept.is_dir() else []
        path.write_text(",".join(map(str, kept)))


def fuzzers(build, tests):
    return [Fuzzer(program, tests) for program in sorted((build / "bin").glob("*_fuzz"))]


@functools.cache
def at_fixed_addresses():
    """What puts a program at the same addresses each time: some branches depend on them. Containers
    may refuse it, and what the runs reach then differs a little."""
    prefix = ["setarch", "--addr-no-randomize"]
    try:
        works = subprocess.run([*prefix, "true"], capture_output=True).returncode == 0
    except OSError:
        works = False
    return prefix if works else []


def _finds_nothing(fuzzer, found, command):
    result = subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                            stderr=subprocess.STDOUT, text=True, errors="replace")
    if result.returncode:
        print(f"{fuzzer.program.name}:", "\n".join(result.stdout.split("\n")[-60:]))
        for written in re.findall(r"Test unit written to (\S+)", result.stdout):
            print(f"the input is {written}; once mended, it belongs into {fuzzer.kept}")
    return result.returncode == 0


def _folder_of_findings(fuzzer, build):
    found = build / "found" / fuzzer.stem
    found.mkdir(parents=True, exist_ok=True)
    return found


def run_fixed(fuzzer, build):
    """True when the kept corpus and the fixed runs after it find nothing."""
    found = _folder_of_findings(fuzzer, build)
    with tempfile.TemporaryDirectory() as scratch:
        seeds = Path(scratch) / "seeds"
        fuzzer.write_seeds(seeds)
        return _finds_nothing(fuzzer, found,
                              [*at_fixed_addresses(), *fuzzer.fixed_command(found, seeds)])


def explore(fuzzer, build, seconds):
    """True when a random run of so many seconds finds nothing."""
    found = _folder_of_findings(fuzzer, build)
    seed = random.randrange(1, 2**31)
    print(f"{fuzzer.program.name}: {seconds} s from seed {seed}", flush=True)
    return _finds_nothing(fuzzer, found, fuzzer.exploring_command(found, seconds, seed))
