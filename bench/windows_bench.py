#!/usr/bin/env python3
"""Dialogs with many entries beside Qt's own item widgets, Tk and yad; message boxes; start-up with
windows. Processor time, medians of rounds in turn. Tk and yad get a display of their own from Xvfb."""
import argparse
import os
import pathlib
import resource
import shutil
import statistics
import subprocess
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]
STEPS = ROOT / "build-bench/bin/window_steps"
TK = ROOT / "bench/peers/tk_windows.tcl"


def cpu(command, **options):
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    done = subprocess.run([str(part) for part in command], check=True, text=True,
                          stdout=subprocess.PIPE, **options)
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime, done.stdout


def steps(command):
    """Step to seconds, as a program of steps prints them; all steps together under ""."""
    taken = {}
    for line in cpu(command)[1].splitlines():
        name, _, seconds = line.rpartition(" ")
        taken[name] = float(seconds)
    taken[""] = sum(taken.values())
    return taken


def show(title, ours, peers):
    """`ours` and `peers[name]`: lists of seconds."""
    median = statistics.median(ours)
    text = f"{title:<34} ours {median * 1e3:9.1f} ms"
    for name, seconds in peers.items():
        text += f" | {name} {statistics.median(seconds) * 1e3:9.1f} ms ({median / statistics.median(seconds):.2f} x)"
    print(text, flush=True)


def compare_steps(title, ways, rounds, names):
    measured = {name: [] for name in ways}
    for _ in range(rounds):
        for name, command in ways.items():
            measured[name].append(steps(command))
    for step in names:
        seconds = {name: [taken[step] for taken in runs] for name, runs in measured.items()}
        show(f"{title}: {step or 'all steps'}", seconds.pop("ours"), seconds)


def list_box(count, rounds):
    entries = "".join(f"entry {i}\n" for i in range(count))
    ways = {"ours": [STEPS, "ours-list", count], "QListWidget": [STEPS, "qt-list", count]}
    if shutil.which("wish"):
        ways["Tk listbox"] = ["wish", TK, "list", count]
    compare_steps(f"list of {count}", ways, rounds, ["fill and show"])
    if shutil.which("yad"):
        # It cannot tell when it has shown them; its whole program, closed after some seconds.
        taken = []
        for _ in range(rounds):
            before = resource.getrusage(resource.RUSAGE_CHILDREN)
            subprocess.run(["yad", "--list", "--column=entry", "--timeout=4"], input=entries,
                           text=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            after = resource.getrusage(resource.RUSAGE_CHILDREN)
            taken.append(after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime)
        print(f"  yad --list, whole program, shown for 4 s: {statistics.median(taken) * 1e3:.0f} ms")


def tree(count, rounds):
    ways = {"ours": [STEPS, "ours-tree", count], "QTreeWidget": [STEPS, "qt-tree", count]}
    if shutil.which("wish"):
        ways["ttk::treeview"] = ["wish", TK, "tree", count]
    compare_steps(f"tree of {count}", ways, rounds,
                  ["insert", "show", "expand all", "select all", "filter", ""])


def inserts(tavhost, folder, count, rounds):
    """Items inserted by commands, less the same program without items."""
    script = folder / "insert.tav"
    script.write_text("TLB_CREATE\nfor i from 0 to int(args[0]) - 1 {\n"
                      "  if i % 100 == 0 { TLB_INSERT id:(i) text:(\"item \" + i) is-parent:1 }\n"
                      "  else { TLB_INSERT id:(i) parentid:(i - i % 100) text:(\"item \" + i) }\n}\n")
    peer = folder / "insert.tcl"
    peer.write_text("proc run {count} { ttk::treeview .t\n"
                    "for {set i 0} {$i < $count} {incr i} {\n"
                    "  if {$i % 100 == 0} { .t insert {} end -id $i -text \"item $i\" } else {\n"
                    "  .t insert [expr {$i - $i % 100}] end -id $i -text \"item $i\" } } }\n"
                    "run [lindex $argv 0]\nexit\n")
    ours, tk = [], []
    for _ in range(rounds):
        ours.append(cpu([tavhost, "run", script, count])[0] - cpu([tavhost, "run", script, 0])[0])
        tk.append(cpu(["wish", peer, count])[0] - cpu(["wish", peer, 0])[0])
    show(f"TLB_INSERT, {count} times", ours, {"ttk::treeview": tk})


def boxes(tavhost, folder, count, rounds):
    script = folder / "boxes.tav"
    script.write_text("for i from 1 to int(args[0]) { QUERYBOX \"go on?\" yes-no }\n")
    seconds = []
    for _ in range(rounds):
        command = [tavhost, "run", "--ui", "headless", "--answers", "accept", script]
        seconds.append(cpu([*command, count])[0] - cpu([*command, 0])[0])
    print(f"message boxes without a display      {count / statistics.median(seconds):10.0f} a second")


def start(tavhost, folder, rounds):
    script = folder / "beep.tav"
    script.write_text("GET_DISPLAY_SIZE\n")  # asks the toolkit, which loads Qt
    environment = {**os.environ, "QT_QPA_PLATFORM": "offscreen"}
    ours, qt = [], []
    for _ in range(rounds * 2):
        ours.append(cpu([tavhost, "run", "--ui", "qt", script], env=environment)[0])
        qt.append(cpu([STEPS, "qt-start", 0], env=environment)[0])
    show("start with windows", ours, {"a bare Qt program": qt})


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--tavhost", default=str(ROOT / "build/bin/tavhost"))
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--count", type=int, default=100000)
    parser.add_argument("rows", nargs="*", help="list, tree, inserts, boxes, start; else all")
    options = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="tavhost-bench-") as folder:
        folder = pathlib.Path(folder)
        display = None
        if not os.environ.get("DISPLAY") and shutil.which("Xvfb"):
            display = subprocess.Popen(["Xvfb", ":97", "-screen", "0", "1280x1024x24"],
                                       stderr=subprocess.DEVNULL)
            os.environ["DISPLAY"] = ":97"
            time.sleep(1)
        try:
            rows = {
                "list": lambda: list_box(options.count, options.rounds),
                "tree": lambda: tree(options.count, options.rounds),
                "inserts": lambda: inserts(options.tavhost, folder, options.count, options.rounds),
                "boxes": lambda: boxes(options.tavhost, folder, options.count, options.rounds),
                "start": lambda: start(options.tavhost, folder, options.rounds),
            }
            for name in options.rows or rows:
                rows[name]()
        finally:
            if display:
                display.terminate()
                display.wait()


if __name__ == "__main__":
    main()
