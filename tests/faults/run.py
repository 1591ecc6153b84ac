#!/usr/bin/env python3
"""File commands under faults: whatever goes wrong at whatever system call, each target is absent,
old or complete, each source is intact, and nothing outside the named folders changes.

Every scenario runs once to count its system calls, then once for each call and each fault. The
short form takes a sample of the calls; --long takes all of them, and trees of extreme depth and
width."""
import argparse
import errno
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
NEW, OLD, KEEP = "new contents ", "old contents ", "keep "


class Broken(Exception):
    """Something was lost or changed that must not be."""


class Scenario:
    def __init__(self, name, command, prepare, check, swap=None):
        self.name, self.command, self.prepare, self.check, self.swap = (
            name, command, prepare, check, swap)


def write(path, text):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text)


SOURCES = ("a.txt", "empty", "sub/b.txt", "sub/deep/c.txt", "sub/large.bin")


def contents(kind, name):
    if name == "empty":
        return "" if kind == NEW else kind
    return (kind + name + "\n") * (20000 if name == "sub/large.bin" else 3)


def make_tree(folder, kind):
    for name in SOURCES:
        write(folder / name, contents(kind, name))


def prepare(base, with_old=False):
    make_tree(base / "src", NEW)
    (base / "to").mkdir()
    if with_old:
        make_tree(base / "to" / "src", OLD)
    make_tree(base / "outside", KEEP)
    os.symlink("../outside", base / "src" / "link")


def read(path):
    """A file's text; None when there is none, or only through a link."""
    within = [path, *path.parents]
    within = within[:[parent.name.startswith("tmp") for parent in within].index(True)]
    return path.read_text() if path.is_file() and not any(p.is_symlink() for p in within) else None


def check_outside(base):
    found = sorted(str(p.relative_to(base / "outside"))
                   for p in (base / "outside").rglob("*") if p.is_file())
    if found != sorted(SOURCES):
        raise Broken(f"outside holds {found}")
    for name in SOURCES:
        if read(base / "outside" / name) != contents(KEEP, name):
            raise Broken(f"outside/{name} changed")


def anywhere(base, folder, name):
    """A file of a tree of which the folder sub may have been swapped aside."""
    text = read(base / folder / name)
    if text is None and name.startswith("sub/"):
        text = read(base / "aside" / name.removeprefix("sub/"))
    return text


def check_copy(with_old):
    def check(base, success, swapped):
        for name in SOURCES:
            if anywhere(base, "src", name) != contents(NEW, name):
                raise Broken(f"the source {name} is not intact")
            if swapped and name.startswith("sub/"):
                continue
            target = read(base / "to" / "src" / name)
            allowed = {contents(NEW, name)}
            if not success:
                allowed |= {contents(OLD, name)} if with_old else {None}
            if target not in allowed:
                raise Broken(f"the target {name} is neither absent, old nor complete")
    return check


def check_move(base, success, swapped):
    for name in SOURCES:
        places = [read(base / "to" / "src" / name), anywhere(base, "src", name)]
        if contents(NEW, name) not in places:
            raise Broken(f"{name} is neither at its old place nor at its new one")
        if any(text not in (None, contents(NEW, name)) for text in places):
            raise Broken(f"{name} is half written")
        if success and not swapped and places[1] is not None:
            raise Broken(f"{name} was not moved")


def check_delete(base, success, swapped):
    for name in SOURCES:
        text = anywhere(base, "src", name)
        if text not in (None, contents(NEW, name)):
            raise Broken(f"{name} is damaged")
    if success and not swapped and (base / "src").exists():
        raise Broken("the tree is still there")


def prepare_single(base):
    write(base / "from", NEW * 30000)
    write(base / "target", OLD)
    make_tree(base / "outside", KEEP)


def check_single(base, success, swapped):
    if read(base / "from") != NEW * 30000:
        raise Broken("the source is not intact")
    if read(base / "target") not in ({NEW * 30000} if success else {OLD, NEW * 30000}):
        raise Broken("the target is neither old nor complete")


def prepare_database(base):
    write(base / "area/0/file", OLD)
    make_tree(base / "outside", KEEP)


def check_database(base, success, swapped):
    # FWRITE has no code for a file that could not be stored when it was closed; the host says so.
    if read(base / "area/0/file") not in {OLD, NEW}:
        raise Broken("the database file is neither old nor complete")


def prepare_rename(base):
    write(base / "from", NEW)
    make_tree(base / "outside", KEEP)


def check_rename(base, success, swapped):
    found = [read(base / "from"), read(base / "renamed")]
    if sorted(found, key=str) != sorted([NEW, None], key=str):
        raise Broken(f"renaming left {found}")


SCENARIOS = [
    Scenario("copy a tree", 'COPY_FILES "src" to:"to"', prepare, check_copy(False), "src/sub"),
    Scenario("copy a tree, the target swapped", 'COPY_FILES "src" to:"to"', prepare,
             check_copy(False), "to/src/sub"),
    Scenario("copy over a tree", 'COPY_FILES "src" to:"to" overwrite-existing-dir',
             lambda base: prepare(base, True), check_copy(True), "to/src/sub"),
    Scenario("move a tree", 'MOVE_FILES "src" to:"to"', prepare, check_move, "src/sub"),
    Scenario("delete a tree", 'DELETE_FILES "src"', prepare, check_delete, "src/sub"),
    Scenario("copy a file", 'FILE_COPY from:"from" to:"target"', prepare_single, check_single),
    Scenario("write a database file", f'FWRITE file:"db:\\\\file" text:"{NEW}"', prepare_database,
             check_database),
    Scenario("rename a file", 'FILE_RENAME from:"from" to:"renamed"', prepare_rename,
             check_rename),
]


class Runner:
    def __init__(self, tavhost, library, scratch):
        self.tavhost, self.library, self.scratch = tavhost, library, scratch
        self.runs = 0

    def run(self, scenario, extra):
        """Runs a command in a new folder; the folder and whether the command said success."""
        self.runs += 1
        base = pathlib.Path(tempfile.mkdtemp(dir=self.scratch))
        scenario.prepare(base)
        script = (f'FILE_EXISTS file:"FAULT-BEGIN"\n{scenario.command} -> r\n'
                  'code = r.ecode\nFILE_EXISTS file:"FAULT-END"\nprint code\n')
        write(base / "script.tav", script)
        environment = dict(os.environ, LD_PRELOAD=str(self.library), **extra)
        done = subprocess.run(
            [self.tavhost, "--db", "area", "run", "script.tav"], cwd=base, env=environment,
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=120, text=True)
        if done.returncode not in (0, -9):
            raise Broken(f"exit code {done.returncode}: {done.stderr.strip()}")
        return base, done.stdout.strip() == "0"

    def count(self, scenario):
        base, success = self.run(scenario, {"FAULT_COUNT": "count"})
        scenario.check(base, success, False)
        check_outside(base)
        if not success:
            raise Broken("it fails without a fault")
        calls = int((base / "count").read_text())
        shutil.rmtree(base)
        if calls < 2:
            raise Broken(f"only {calls} system calls were seen")
        return calls

    def try_fault(self, scenario, at, fault):
        extra = {"FAULT_AT": str(at), "FAULT_DO": fault}
        if fault == "swap":
            extra |= {"FAULT_SWAP": scenario.swap, "FAULT_ASIDE": "aside",
                      "FAULT_LINK": "../" * scenario.swap.count("/") + "outside/sub"}
        base, success = self.run(scenario, extra)
        try:
            scenario.check(base, success, fault == "swap")
            check_outside(base)
        except Broken as broken:
            raise Broken(f"{fault} at call {at}: {broken} (left in {base})") from None
        shutil.rmtree(base)


def sample(calls, long):
    if long or calls <= 24:
        return range(1, calls + 1)
    return sorted({1 + round(i * (calls - 1) / 23) for i in range(24)})


def test_faults(runner, long):
    for scenario in SCENARIOS:
        faults = [f"error:{errno.EIO}", "kill"]
        if long:
            faults += [f"error:{errno.ENOSPC}", f"error:{errno.EACCES}"]
        if scenario.swap:
            faults.append("swap")
        calls = runner.count(scenario)
        for fault in faults:
            for at in sample(calls, long):
                yield scenario.name, lambda: runner.try_fault(scenario, at, fault)


def test_full_disk(runner, options, with_old):
    """A small file system that fills up, by bytes and by names."""
    def case():
        folder = pathlib.Path(tempfile.mkdtemp(dir=runner.scratch))
        (folder / "disk").mkdir()
        subprocess.run(["mount", "-t", "tmpfs", "-o", options, "none", str(folder / "disk")],
                       check=True)
        try:
            prepare(folder)
            if with_old:
                make_tree(folder / "disk" / "to" / "src", OLD)
            (folder / "disk" / "to").mkdir(exist_ok=True)
            write(folder / "script.tav",
                  'COPY_FILES "src" to:"disk/to" overwrite-existing-dir\nprint ecode\n'
                  'FWRITE file:"disk/short" text:(upper(join(range(0, 100000, 1), ",")))\n'
                  'print ecode, written > 400000\n')
            done = subprocess.run([runner.tavhost, "run", "script.tav"], cwd=folder, text=True,
                                  stdout=subprocess.PIPE, timeout=120)
            if not done.stdout.startswith("1\n") or done.stdout.split("\n")[1] == "0 1":
                raise Broken(f"the disk was not full: {done.stdout!r}")
            for name in SOURCES:
                if read(folder / "src" / name) != contents(NEW, name):
                    raise Broken(f"the source {name} is not intact")
                allowed = (None, contents(OLD, name), contents(NEW, name))
                if read(folder / "disk" / "to" / "src" / name) not in allowed:
                    raise Broken(f"the target {name} is half written")
            stray = list((folder / "disk").rglob(".tavhost-*"))
            if stray:
                raise Broken(f"left behind: {stray}")
        finally:
            subprocess.run(["umount", str(folder / "disk")], check=True)
    return case


def test_depth(runner, levels):
    """A tree deeper than a process may have files open, copied, moved and deleted."""
    def case():
        folder = pathlib.Path(tempfile.mkdtemp(dir=runner.scratch))
        write(folder / "script.tav", f"""
            path = "deep"
            DIR_CREATE path:(path)
            for i from 1 to {levels} {{ path = path + "/d"; DIR_CREATE path:(path) }}
            FWRITE file:(path + "/end") text:"x"
            print ecode
            DIR_CREATE path:"copy"
            COPY_FILES "deep" to:"copy"
            print ecode
            DIR_CREATE path:"moved"
            MOVE_FILES "deep" to:"moved"
            print ecode
            FREAD file:("moved/" + path + "/end")
            print ecode, text
            FREAD file:("copy/" + path + "/end")
            print ecode, text
            DELETE_FILES "copy"
            print ecode
            DELETE_FILES "moved"
            print ecode
        """)
        done = subprocess.run(["bash", "-c", 'ulimit -n 256; exec "$0" run script.tav',
                               runner.tavhost], cwd=folder, text=True, stdout=subprocess.PIPE,
                              timeout=600)
        if done.stdout.split() != "0 0 0 0 x 0 x 0 0".split():
            raise Broken(f"{done.stdout!r} (left in {folder})")
    return case


def test_width(runner, entries):
    """A folder with very many entries."""
    def case():
        folder = pathlib.Path(tempfile.mkdtemp(dir=runner.scratch))
        (folder / "wide").mkdir()
        for i in range(entries):
            os.close(os.open(folder / "wide" / f"entry-{i:06}", os.O_CREAT | os.O_WRONLY))
        write(folder / "script.tav", """
            DIR_LIST path:"wide"
            print ecode, len(split(files, "*"))
            DIR_CREATE path:"to"
            MOVE_FILES "wide" to:"to"
            print ecode
            DELETE_FILES "to"
            print ecode
        """)
        done = subprocess.run([runner.tavhost, "run", "script.tav"], cwd=folder, text=True,
                              stdout=subprocess.PIPE, timeout=600)
        if done.stdout.split() != ["0", str(entries), "0", "0"]:
            raise Broken(done.stdout)
    return case


def build_library(folder):
    library = pathlib.Path(folder) / "fault_preload.so"
    subprocess.run(["cc", "-shared", "-fPIC", "-O1", "-Wall", "-o", library,
                    ROOT / "tests/faults/fault_preload.c", "-ldl"], check=True)
    return library


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--tavhost", default=str(ROOT / "build/bin/tavhost"))
    parser.add_argument("--long", action="store_true", help="every call, extreme trees")
    options = parser.parse_args()
    failures = cases = 0
    with tempfile.TemporaryDirectory(prefix="tavhost-faults-") as scratch:
        runner = Runner(os.path.abspath(options.tavhost), build_library(scratch), scratch)

        def all_tests():
            yield from test_faults(runner, options.long)
            if os.geteuid() == 0:
                yield "a full disk", test_full_disk(runner, "size=800k", True)
                yield "a disk without free names", test_full_disk(runner, "nr_inodes=6", False)
            yield "a deep tree", test_depth(runner, 5000 if options.long else 400)
            yield "a wide folder", test_width(runner, 400000 if options.long else 2000)

        for name, case in all_tests():
            cases += 1
            try:
                case()
            except (Broken, subprocess.SubprocessError) as error:
                failures += 1
                print(f"FAILED {name}: {error}")
    print(f"{cases - failures} passed, {failures} failed")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
