#!/usr/bin/env python3
"""The file commands beside what one would take instead: whole programs, in turn, CPU time.

Each line is one way to do the work: the median of user + system time and the ratio of ours to it
(below 1: ours is faster). Work happens in --folder, by default in memory, so that the disk does
not speak for the programs."""
import argparse
import os
import pathlib
import resource
import shutil
import statistics
import subprocess
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[1]

C_PROGRAMS = {
    "access": """
#include <unistd.h>
#include <stdlib.h>
int main(int n, char** v) { long r = 0; for (long i = 0; i < atol(v[2]); ++i) r += access(v[1], F_OK);
  return r != 0; }""",
    "stat": """
#include <sys/stat.h>
#include <stdlib.h>
int main(int n, char** v) { struct stat s; long r = 0;
  for (long i = 0; i < atol(v[2]); ++i) r += stat(v[1], &s); return r != 0; }""",
    "read": """
#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>
int main(int n, char** v) { int f = open(v[1], O_RDONLY); struct stat s; fstat(f, &s);
  char* p = malloc(s.st_size); long d = 0, r; while ((r = read(f, p + d, s.st_size - d)) > 0) d += r;
  return d != s.st_size; }""",
    "copy": """
#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>
int main(int n, char** v) { int f = open(v[1], O_RDONLY); struct stat s; fstat(f, &s);
  char* p = malloc(s.st_size); long d = 0, r; while ((r = read(f, p + d, s.st_size - d)) > 0) d += r;
  int g = open(v[2], O_WRONLY | O_CREAT | O_TRUNC, 0666); long w = 0;
  while (w < d && (r = write(g, p + w, d - w)) > 0) w += r; return w != d; }""",
}


class Bench:
    def __init__(self, folder, tavhost, rounds):
        self.folder, self.tavhost, self.rounds = pathlib.Path(folder), tavhost, rounds
        for name, source in C_PROGRAMS.items():
            file = self.folder / f"{name}.c"
            file.write_text(source)
            subprocess.run(["cc", "-O2", "-o", self.folder / name, file], check=True)

    def tav(self, script):
        return [self.tavhost, "run", "-e", script]

    def measure(self, command):
        before = resource.getrusage(resource.RUSAGE_CHILDREN)
        subprocess.run(command, cwd=self.folder, check=True, stdout=subprocess.DEVNULL,
                       env=dict(os.environ, PATH=f"{self.folder}:{os.environ['PATH']}"))
        after = resource.getrusage(resource.RUSAGE_CHILDREN)
        return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime

    def row(self, title, ways, before=lambda: None):
        """`ways`: name to command, ours first; `before` makes each run's starting point."""
        ways = {name: command for name, command in ways.items()
                if shutil.which(command[0], path=f"{self.folder}:{os.environ['PATH']}")}
        times = {name: [] for name in ways}
        for _ in range(self.rounds):
            for name, command in ways.items():
                before()
                times[name].append(self.measure(command))
        medians = {name: statistics.median(values) for name, values in times.items()}
        ours = next(iter(medians.values()))
        print(title)
        for name, median in medians.items():
            print(f"  {name:28} {median:8.3f} s   {ours / median:6.2f}", flush=True)

    def remove(self, *names):
        for name in names:
            path = self.folder / name
            if path.is_dir():
                shutil.rmtree(path)
            elif path.exists():
                path.unlink()


def python(text):
    return ["/usr/bin/python3", "-c", text]


def tcl(folder, name, text):
    (folder / name).write_text(text)
    return ["tclsh", name]


def exists(bench, count):
    (bench.folder / "present").write_text("")

    def tcl_loop(name, question):
        return tcl(bench.folder, name, f"proc run {{}} {{ for {{set i 0}} {{$i < {count}}} "
                                       f"{{incr i}} {{set e [file {question} present]}} }}; run")

    # FILE_EXISTS says no to a directory, as "isfile" does; "exists" and access(2) do not ask.
    bench.row(f"a file exists, {count} times", {
        "FILE_EXISTS": bench.tav(f'for i from 1 to {count} {{ FILE_EXISTS file:"present" }}'),
        "tclsh exists": tcl_loop("e.tcl", "exists"),
        "tclsh isfile": tcl_loop("i.tcl", "isfile"),
        "python3 exists": python(
            f"import os\nfor i in range({count}): e = os.path.exists('present')"),
        "python3 isfile": python(
            f"import os\nfor i in range({count}): e = os.path.isfile('present')"),
        "access(2)": ["access", "present", str(count)],
        "stat(2)": ["stat", "present", str(count)],
    })


def read_and_write(bench, mib):
    with open(bench.folder / "big", "wb") as file:
        for _ in range(mib):
            file.write(os.urandom(1 << 20))
    bench.row(f"read {mib} MiB", {
        "FREAD": bench.tav('FREAD file:"big" binary'),
        "python3": python("d = open('big', 'rb').read()"),
        "tclsh": tcl(bench.folder, "r.tcl", "set f [open big rb]; set d [read $f]"),
        "read(2)": ["read", "big"],
    })
    bench.row(f"read {mib} MiB and write them", {
        "FREAD, FWRITE": bench.tav('FREAD file:"big" binary; FWRITE file:"out" text:(text) binary'),
        "python3": python("d = open('big', 'rb').read(); open('out', 'wb').write(d)"),
        "tclsh": tcl(bench.folder, "w.tcl", "set f [open big rb]; set d [read $f]\n"
                                            "set g [open out wb]; puts -nonewline $g $d; close $g"),
        "read(2), write(2)": ["copy", "big", "out"],
    }, lambda: bench.remove("out"))
    bench.row(f"copy a file of {mib} MiB", {
        "FCOPY": bench.tav('FCOPY from:"big" to:"out"'),
        "cp": ["cp", "big", "out"],
        "python3 shutil": python("import shutil; shutil.copy('big', 'out')"),
        "tclsh": tcl(bench.folder, "c.tcl", "file copy big out"),
    }, lambda: bench.remove("out"))
    bench.remove("big", "out")


def write_small(bench, count):
    """A short text as a whole file, over an old one and as a new one; appended."""
    loops = {
        "over an old file": ('FWRITE file:"f" text:"some text"',
                             "set f [open f w]; puts -nonewline $f {some text}; close $f",
                             "f = open('f', 'w'); f.write('some text'); f.close()",
                             "f = open('g', 'w'); f.write('some text'); f.close(); "
                             "os.replace('g', 'f')"),
        "to a new file": ('FWRITE file:("n" + i) text:"some text"',
                          "set f [open n$i w]; puts -nonewline $f {some text}; close $f",
                          "f = open(f'n{i}', 'w'); f.write('some text'); f.close()",
                          "f = open('g', 'w'); f.write('some text'); f.close(); "
                          "os.rename('g', f'n{i}')"),
        "to the end of a file": ('FWRITE file:"f" text:"some text" append',
                                 "set f [open f a]; puts -nonewline $f {some text}; close $f",
                                 "f = open('f', 'a'); f.write('some text'); f.close()", None),
    }

    def fresh():
        for path in bench.folder.glob("[nfg]*"):
            if not path.suffix:
                path.unlink()
        (bench.folder / "f").write_text("old text")

    for what, (ours, tcl_step, python_step, safe_step) in loops.items():
        ways = {
            "FWRITE": bench.tav(f"for i from 1 to {count} {{ {ours} }}"),
            "tclsh": tcl(bench.folder, "o.tcl", f"proc run {{}} {{ for {{set i 0}} {{$i < {count}}} "
                                                f"{{incr i}} {{ {tcl_step} }} }}; run"),
            "python3": python(f"for i in range({count}): {python_step}"),
        }
        if safe_step:
            ways["python3, renamed"] = python(f"import os\nfor i in range({count}): {safe_step}")
        bench.row(f"write 9 bytes {what}, {count} times", ways, fresh)


def base64(bench, mib):
    (bench.folder / "raw").write_bytes(os.urandom(1 << 20) * mib)
    with open(bench.folder / "text", "wb") as out:
        subprocess.run(["base64", "-w0", bench.folder / "raw"], stdout=out, check=True)
    bench.row(f"encode {mib} MiB", {
        "ENCODE": bench.tav('ENCODE file:"raw"'),
        "base64": ["base64", "-w0", "raw"],
        "openssl": ["openssl", "base64", "-A", "-in", "raw"],
        "python3": python("import base64; e = base64.b64encode(open('raw', 'rb').read())"),
        "tclsh": tcl(bench.folder, "b.tcl", "set f [open raw rb]; set d [read $f]\n"
                                            "set e [binary encode base64 $d]"),
    })
    # DECODE's text ends at the first NUL byte, so the whole work is FWRITE's.
    bench.row(f"decode to {mib} MiB and write", {
        "FREAD, FWRITE base64":
            bench.tav('FREAD file:"text"; FWRITE file:"out" text:(text) base64'),
        "base64 -d": ["sh", "-c", "base64 -d text > out"],
        "openssl": ["openssl", "base64", "-d", "-A", "-in", "text", "-out", "out"],
        "python3": python("import base64\n"
                          "open('out', 'wb').write(base64.b64decode(open('text', 'rb').read()))"),
        "tclsh": tcl(bench.folder, "d.tcl", "set f [open text rb]; set d [read $f]; set g "
                     "[open out wb]; puts -nonewline $g [binary decode base64 $d]; close $g"),
    }, lambda: bench.remove("out"))
    bench.remove("raw", "text", "out")


def trees(bench, folders, files):
    def make(name):
        for d in range(folders):
            (bench.folder / name / f"folder-{d:03}").mkdir(parents=True)
            for f in range(files):
                with open(bench.folder / name / f"folder-{d:03}/file-{f:03}.txt", "w") as file:
                    file.write("x" * 1000)

    make("src")
    count = folders * files

    def empty_target():
        bench.remove("to")
        (bench.folder / "to").mkdir()

    bench.row(f"copy {count} small files", {
        "COPY_FILES": bench.tav('COPY_FILES "src" to:"to"'),
        "cp -r": ["cp", "-r", "src", "to"],
        "python3 shutil": python("import shutil; shutil.copytree('src', 'to/src')"),
        "tclsh": tcl(bench.folder, "t.tcl", "file copy src to/src"),
    }, empty_target)

    def tree_to_move():
        empty_target()
        bench.remove("moved")
        subprocess.run(["cp", "-r", "src", "moved"], cwd=bench.folder, check=True)

    bench.row(f"move {count} small files one by one", {
        "MOVE_FILES": bench.tav('MOVE_FILES "moved" to:"to"'),
        "python3 os.rename": python(
            "import os\nfor top, dirs, files in os.walk('moved'):\n"
            " os.mkdir('to/' + top)\n for f in files: os.rename(top + '/' + f, 'to/' + top + '/' + f)"),
    }, tree_to_move)
    bench.row(f"delete {count} small files", {
        "DELETE_FILES": bench.tav('DELETE_FILES "moved"'),
        "rm -rf": ["rm", "-rf", "moved"],
        "python3 shutil": python("import shutil; shutil.rmtree('moved')"),
        "tclsh": tcl(bench.folder, "x.tcl", "file delete -force moved"),
    }, tree_to_move)
    bench.remove("src", "to", "moved")


def listing(bench, entries):
    (bench.folder / "wide").mkdir()
    for i in range(entries):
        (bench.folder / "wide" / f"entry-{i:06}.txt").touch()
    bench.row(f"list {entries} entries", {
        "DIR_LIST": bench.tav('DIR_LIST path:"wide"'),
        "ls": ["ls", "wide"],
        "tclsh glob": tcl(bench.folder, "g.tcl", "set n [join [glob -tails -directory wide *] *]"),
        "tclsh glob, sorted": tcl(bench.folder, "s.tcl",
                                  "set n [join [lsort [glob -tails -directory wide *]] *]"),
        "python3 scandir": python("import os; n = '*'.join(e.name for e in os.scandir('wide'))"),
        "python3 listdir, sorted": python("import os; n = '*'.join(sorted(os.listdir('wide')))"),
    })
    bench.remove("wide")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--tavhost", default=str(ROOT / "build/bin/tavhost"))
    parser.add_argument("--folder", default="/dev/shm" if os.path.isdir("/dev/shm") else None)
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--small", action="store_true", help="a tenth of the work")
    parser.add_argument("rows", nargs="*", help="exists, read, write, base64, trees, list; else all")
    options = parser.parse_args()
    part = 10 if options.small else 1
    rows = {
        "exists": lambda bench: exists(bench, 1000000 // part),
        "read": lambda bench: read_and_write(bench, 1024 // part),
        "write": lambda bench: write_small(bench, 20000 // part),
        "base64": lambda bench: base64(bench, 256 // part),
        "trees": lambda bench: trees(bench, 500 // part, 100),
        "list": lambda bench: listing(bench, 200000 // part),
    }
    with tempfile.TemporaryDirectory(prefix="tavhost-bench-", dir=options.folder) as folder:
        bench = Bench(folder, os.path.abspath(options.tavhost), options.rounds)
        for name in options.rows or rows:
            rows[name](bench)


if __name__ == "__main__":
    main()
