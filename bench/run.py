#!/usr/bin/env python3
"""Whole programs, ours beside the peers', in turn A B A B; CPU time, medians, one table."""

import argparse
import os
import shutil
import statistics
import sys
from pathlib import Path

BENCH = Path(__file__).resolve().parent
ROOT = BENCH.parent
PROGRAMS = BENCH / "programs"


class Row:
    def __init__(self, number, title, program, rounds, goals):
        self.number, self.title, self.program = number, title, program
        self.rounds = rounds  # of the loop inside; None: the whole process is what counts
        self.goals = goals  # peer (or "best") -> greatest ratio


ROWS = [
    Row("1", "empty script, whole process", "empty", None, {"lua": 1.3, "tcl": 0.6}),
    Row("2a", "loop of add and compare", "add_compare", 10_000_000, {"lua": 1.0}),
    Row("2b", "append one character", "append", 1_000_000, {"best": 0.3}),
    Row("2c", "command, one parameter", "command", 1_000_000, {"lua": 0.7}),
    Row("2d", "command text parsed afresh", "command_text", 200_000, {"tcl": 0.4}),
    Row("-", "function calls, fib(27)", "calls", 832_039, {"lua": 1.0}),
]
REQUIRED = ("tcl", "python")  # ours must be ahead of these everywhere


def languages(tavhost, peers):
    found = {"ours": ([str(tavhost), "run", "--ui", "headless"], ".tav", [], {})}
    candidates = {
        "lua": ("lua5.4", ".lua", [], {"LUA_CPATH": f"{peers}/lua/?.so"}),
        "tcl": ("tclsh", ".tcl", [str(peers)], {}),
        "python": ("/usr/bin/python3", ".py", [],
                   {"PYTHONPATH": f"{peers}/python", "PYTHONDONTWRITEBYTECODE": "1"}),
    }
    for name, (program, suffix, arguments, environment) in candidates.items():
        path = shutil.which(program)
        if path:
            found[name] = ([path], suffix, arguments, environment)
        else:
            print(f"{program} is not installed: no column for it", file=sys.stderr)
    return found


def cpu_seconds(language, program):
    """User and system time of one run; None when it failed."""
    command, suffix, arguments, environment = language
    pid = os.posix_spawn(command[0], command + [str(PROGRAMS / (program + suffix))] + arguments,
                         {**os.environ, **environment},
                         file_actions=[(os.POSIX_SPAWN_OPEN, 1, os.devnull, os.O_WRONLY, 0),
                                       (os.POSIX_SPAWN_OPEN, 0, os.devnull, os.O_RDONLY, 0)])
    _, status, usage = os.wait4(pid, 0)
    return usage.ru_utime + usage.ru_stime if status == 0 else None


def measure(row, found, times):
    """Medians by language. Empty scripts are run in bundles, since a clock tick is too coarse."""
    bundle = 20 if row.rounds is None else 1
    samples = {name: [] for name in found}
    for _ in range(times):
        for name, language in found.items():
            runs = [cpu_seconds(language, row.program) for _ in range(bundle)]
            if None in runs:
                samples[name] = None
                continue
            if samples[name] is not None:
                samples[name].append(sum(runs) / bundle)
    return {name: statistics.median(values) for name, values in samples.items() if values}


def shown(seconds):
    if seconds < 1e-6:
        return f"{seconds * 1e9:.1f} ns"
    return f"{seconds * 1e6:.2f} µs" if seconds < 1e-3 else f"{seconds * 1e3:.2f} ms"


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--tavhost", type=Path, default=ROOT / "build/bin/tavhost")
    parser.add_argument("--peers", type=Path, default=ROOT / "build-bench/bench-peers",
                        help="where the peers' modules are")
    parser.add_argument("--times", type=int, default=7, help="runs of each program")
    parser.add_argument("rows", nargs="*", help="row numbers or programs; all by default")
    options = parser.parse_args()
    if not options.tavhost.exists():
        print(f"{options.tavhost} is not there; build it first", file=sys.stderr)
        return 2
    found = languages(options.tavhost, options.peers)
    names = [name for name in ("lua", "tcl", "python") if name in found]
    print(f"{'row':4}{'work':30}{'ours':>11}" + "".join(f"{n:>11}" for n in names) +
          "   ratios to peers, goals")
    empty = measure(ROWS[0], found, options.times)
    behind = []
    for row in ROWS:
        if options.rows and row.number not in options.rows and row.program not in options.rows:
            continue
        medians = empty if row.rounds is None else measure(row, found, options.times)
        if "ours" not in medians:
            print(f"{row.number:4}{row.title:30} failed")
            behind.append(row.title)
            continue
        if row.rounds is not None:  # a round, without what starting costs
            medians = {n: max(t - empty[n], 1e-12) / row.rounds for n, t in medians.items()}
        ours = medians["ours"]
        ratios = {n: ours / medians[n] for n in names if n in medians}
        if ratios:
            ratios["best"] = max(ratios.values())
        notes = []
        for peer in [*names, "best"]:
            if peer not in ratios or (peer == "best" and "best" not in row.goals):
                continue
            goal = row.goals.get(peer)
            met = "" if goal is None else f" (goal {goal}{'' if ratios[peer] <= goal else ', missed'})"
            notes.append(f"{ratios[peer]:.2f} x {peer}{met}")
            if peer in REQUIRED and ratios[peer] >= 1:
                behind.append(f"{row.title}: behind {peer}")
        print(f"{row.number:4}{row.title:30}{shown(ours):>11}" +
              "".join(f"{shown(medians[n]) if n in medians else '-':>11}" for n in names) +
              "   " + ", ".join(notes))
    for text in behind:
        print(text)
    return 1 if behind else 0


if __name__ == "__main__":
    sys.exit(main())
