#!/usr/bin/env python3
"""A table of 1,000,000 rows and 5 columns shown by whole programs: ours, Tk's ttk::treeview, tablelist.

Each reads the same text, fills its table and paints it once; CPU time (user + sys), in turn, medians.
Tk needs a display: Xvfb is started for it. A smaller number of rows can be given as an argument.
"""

import os
import shutil
import statistics
import subprocess
import sys
import tempfile
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
OURS = ROOT / "build-bench/bin/table_view_bench"
DISPLAY = ":97"
ROUNDS = 3

TREEVIEW = """
package require Tk
set rows [split [string trimright [read [open [lindex $argv 0]]] \\n] \\n]
ttk::treeview .t -columns {a b c d e} -show headings
pack .t -expand 1 -fill both
foreach row [lrange $rows 1 end] { .t insert {} end -values [split $row \\;] }
update
exit
"""
TABLELIST = """
package require Tk
package require tablelist
set rows [split [string trimright [read [open [lindex $argv 0]]] \\n] \\n]
tablelist::tablelist .t -columns {10 a 10 b 10 c 10 d 10 e}
pack .t -expand 1 -fill both
set items {}
foreach row [lrange $rows 1 end] { lappend items [split $row \\;] }
.t insertlist end $items
update
exit
"""


def cpu_seconds(command):
    pid = os.posix_spawnp(command[0], command, {**os.environ, "DISPLAY": DISPLAY})
    _, status, usage = os.wait4(pid, 0)
    return usage.ru_utime + usage.ru_stime if status == 0 else None, usage.ru_maxrss / 1024


def main():
    missing = [name for name in ("wish", "Xvfb") if not shutil.which(name)]
    if not OURS.exists():
        missing.append(str(OURS))
    if missing:
        print(f"table_tk_bench: not there: {', '.join(missing)}", file=sys.stderr)
        return 0
    with tempfile.TemporaryDirectory() as folder:
        text = Path(folder, "table.csv")
        subprocess.run([OURS, "write", text], check=True)
        if len(sys.argv) > 1:
            lines = text.read_text().split("\n", int(sys.argv[1]) + 1)
            text.write_text("\n".join(lines[:-1]) + "\n")
        scripts = {}
        for name, source in (("ttk::treeview", TREEVIEW), ("tablelist", TABLELIST)):
            scripts[name] = Path(folder, name.replace(":", "") + ".tcl")
            scripts[name].write_text(source)
        commands = {"ours": [str(OURS), "once", str(text)]}
        commands |= {name: ["wish", str(path), str(text)] for name, path in scripts.items()}
        with subprocess.Popen(["Xvfb", DISPLAY, "-screen", "0", "1280x1024x24"],
                              stderr=subprocess.DEVNULL) as server:
            try:
                samples = {name: [] for name in commands}
                for _ in range(ROUNDS):
                    for name, command in commands.items():
                        samples[name].append(cpu_seconds(command))
            finally:
                server.terminate()
    ours = statistics.median(seconds for seconds, _ in samples["ours"])
    line = "table from its text to paint, whole programs"
    for name, runs in samples.items():
        if any(seconds is None for seconds, _ in runs):
            line += f" | {name} failed"
            continue
        seconds = statistics.median(taken for taken, _ in runs)
        memory = statistics.median(used for _, used in runs)
        line += f" | {name} {seconds:.2f} s, {memory:.0f} MiB ({ours / seconds:.3f} x)"
    print(line)
    return 0


if __name__ == "__main__":
    sys.exit(main())
