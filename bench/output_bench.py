#!/usr/bin/env python3
"""Lines into a shown output window, beside a Qt program's appendPlainText and Tk's text widget.

The processor time of whole programs, less that of the same program with one line, in turn
A B A B; medians. Qt draws offscreen; Tk draws on a virtual X server of its own, whose time does not
count. What must hold, or the exit code is 1: a line costs no more in a long text than in a short
one, within a factor of three."""
import argparse
import contextlib
import os
import pathlib
import resource
import shutil
import statistics
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[1]
PEERS = ROOT / "build-bench/bin"
GOAL = 0.3  # of appendPlainText, for 10,000 lines
FLAT = 3  # how much dearer a line may be in ten times as long a text

SCRIPT = """
CREATE_OUTPUT_WIN winid:"log" title:"Log"
SET_OUT_MAX_LINE_COUNT (int(args[1]))
for i from 1 to int(args[0]) {
  OUT winid:"log" text:("line " + i + ": the quick brown fox jumps over the dog\\n")
}
"""
TK = """
package require Tk
lassign $argv lines limit
text .t -width 100 -height 30 -wrap none
pack .t
update
set since [clock milliseconds]
for {set i 1} {$i <= $lines} {incr i} {
  .t insert end "line $i: the quick brown fox jumps over the dog\\n"
  if {$limit && $i >= $limit} { .t delete 1.0 2.0 }
  .t see end
  if {[clock milliseconds] - $since < 20} continue
  update
  set since [clock milliseconds]
}
update
exit
"""


def cpu(command, environment):
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    subprocess.run([str(part) for part in command], check=True, env={**os.environ, **environment},
                   stdout=subprocess.DEVNULL)
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime


@contextlib.contextmanager
def display():
    """A virtual X server; None where there is none."""
    if not shutil.which("Xvfb") or not shutil.which("wish"):
        yield None
        return
    reading, writing = os.pipe()
    server = subprocess.Popen(["Xvfb", "-displayfd", str(writing), "-screen", "0", "1024x768x24"],
                              pass_fds=[writing], stderr=subprocess.DEVNULL)
    os.close(writing)
    try:
        with os.fdopen(reading) as answer:
            yield ":" + answer.readline().strip()
    finally:
        server.terminate()
        server.wait()


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--tavhost", type=pathlib.Path, default=ROOT / "build/bin/tavhost")
    parser.add_argument("--rounds", type=int, default=5)
    options = parser.parse_args()
    late = []
    with tempfile.TemporaryDirectory() as scratch, display() as screen:
        folder = pathlib.Path(scratch)
        (folder / "out.tav").write_text(SCRIPT)
        (folder / "out.tcl").write_text(TK)
        offscreen = {"QT_QPA_PLATFORM": "offscreen", "XDG_RUNTIME_DIR": scratch}
        ways = {"ours": lambda lines, limit: cpu(
            [options.tavhost, "run", "--ui", "qt", folder / "out.tav", lines, limit], offscreen)}
        if (PEERS / "append_peer").exists():
            ways["appendPlainText"] = lambda lines, limit: cpu(
                [PEERS / "append_peer", lines, limit], offscreen)
        if screen:
            ways["Tk text"] = lambda lines, limit: cpu(
                ["wish", folder / "out.tcl", lines, limit], {"DISPLAY": screen})
        cost = {}
        for limit in (0, 1000):
            for lines in (10_000, 100_000):
                times = {name: [] for name in ways}
                for _ in range(options.rounds):
                    for name, way in ways.items():
                        times[name].append(way(lines, limit) - way(1, limit))
                medians = {name: statistics.median(values) for name, values in times.items()}
                cost[limit, lines] = medians["ours"] / lines
                print(f"{lines:,} lines, limit {limit or 'none'}")
                for name, median in medians.items():
                    ratio = medians["ours"] / median
                    goal = ""
                    if name == "appendPlainText" and lines == 10_000:
                        goal = f" (goal {GOAL}{'' if ratio <= GOAL else ', missed'})"
                    print(f"  {name:<18}{median / lines * 1e6:9.2f} us a line   "
                          f"ours {ratio:.2f} x{goal}")
            if cost[limit, 100_000] > FLAT * cost[limit, 10_000]:
                late.append(f"limit {limit or 'none'}: a line in 100,000 costs "
                            f"{cost[limit, 100_000] / cost[limit, 10_000]:.1f} x one in 10,000")
    for text in late:
        print(text)
    return 1 if late else 0


if __name__ == "__main__":
    sys.exit(main())
