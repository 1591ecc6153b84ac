#!/usr/bin/env python3
"""File commands under faults: whatever goes wrong at whatever system call, each target is absent,
old or complete, each source is intact, and nothing outside the named folders changes.

Every scenario runs once to count its system calls, then once for each call and each fault. The
short form takes a sample of the calls; --long takes all of them and more kinds of fault. Behind
the scenarios stand what needs no fault at a call: full disks, trees of extreme depth and width,
odd entries, folders without permission, several programs at once."""
import argparse
import collections
import concurrent.futures
import errno
import itertools
import os
import pathlib
import re
import shutil
import signal
import socket
import stat
import subprocess
import sys
import tempfile
import threading
import time

sys.dont_write_bytecode = True
HERE = pathlib.Path(__file__).resolve().parent
sys.path[:0] = [str(HERE), str(HERE.parent)]
import ground  # noqa: E402
import kills  # noqa: E402
import leftovers  # noqa: E402
import promises  # noqa: E402
import rights  # noqa: E402
import scenarios  # noqa: E402
import waiting  # noqa: E402
import writers  # noqa: E402
from ground import Broken, NEW, OLD, SOURCES, contents, make_tree, snapshot, write  # noqa: E402

ROOT = HERE.parents[1]
WORKERS = 2
NOBODY = 65534
# Functions that may handle less than they are asked to.
SHORTENED = {"read", "pread", "write", "pwrite", "sendfile", "copy_file_range"}

# What a program may call to touch files, besides what the library to preload defines: none of
# these may be imported, or a call would go by unseen. Streams (fopen and its like) serve what no
# file command does; `syscall` serves the runtime's locks.
FILE_FUNCTIONS = """
    openat64 open64 creat creat64 fopen64 freopen __open_2 __openat_2 __open64_2 __openat64_2
    __read_chk __pread_chk __pread64_chk __readlink_chk __readlinkat_chk __realpath_chk __getcwd_chk
    pread64 pwrite64 readv writev preadv pwritev sendfile64 splice tee
    stat64 lstat64 fstat64 fstatat64 __xstat __lxstat __fxstat __fxstatat euidaccess eaccess
    truncate truncate64 ftruncate64 fallocate64 posix_fallocate posix_fallocate64
    chown lchown utime utimes futimes futimesat lutimes
    mkfifo mkfifoat mknod mknodat mkdtemp mkostemp mkstemps mkostemps tmpfile tempnam tmpnam
    readdir64 readdir_r getdents scandir scandirat nftw ftw fts_open canonicalize_file_name
    get_current_dir_name getwd chroot sync syncfs setxattr lsetxattr""".split()


def imports(program):
    listed = subprocess.run(["nm", "-D", "--undefined-only", str(program)], check=True, text=True,
                            stdout=subprocess.PIPE).stdout
    return {line.split()[-1].split("@")[0] for line in listed.splitlines()}


class Runner:
    def __init__(self, tavhost, scratch, far):
        self.tavhost, self.scratch, self.far = tavhost, scratch, far
        self.lock, self.shared = threading.Lock(), None
        self.library = pathlib.Path(scratch) / "fault_preload.so"
        subprocess.run(["cc", "-shared", "-fPIC", "-O1", "-Wall", "-Werror", "-o", self.library,
                        HERE / "fault_preload.c", "-ldl"], check=True)

    def for_anybody(self):
        """The program with its plug-ins at a place that every user can enter, wherever it was
        built."""
        with self.lock:
            if not self.shared:
                built = pathlib.Path(self.tavhost)
                shared = pathlib.Path(self.scratch) / "program"
                (shared / "bin").mkdir(parents=True)
                shutil.copy(built, shared / "bin" / built.name)
                shutil.copytree(built.parents[1] / "lib", shared / "lib",
                                ignore=shutil.ignore_patterns("modules", "*.a"))
                self.shared = str(shared / "bin" / built.name)
        return self.shared

    def check_coverage(self):
        """Every function that touches files and that is imported is one the library sees."""
        plugins = pathlib.Path(self.tavhost).parents[1] / "lib"
        for program in [self.tavhost, *plugins.rglob("*.so")]:
            unseen = imports(program) & set(FILE_FUNCTIONS)
            if unseen:
                raise Broken(f"{program} calls what goes by unseen: {sorted(unseen)}")

    def script(self, folder, text, check=True, **more):
        """Runs a script without a fault; what it prints."""
        (folder / "script.tav").write_text(text)
        return self.script_as_it_is(folder, check, **more)

    def script_as_it_is(self, folder, check=True, program=None, **more):
        done = subprocess.run([program or self.tavhost, "--db", "area", "run", "script.tav"], cwd=folder,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=900,
                              **more)
        if check and done.returncode != 0:
            raise Broken(f"exit code {done.returncode}: {done.stderr!r} (left in {folder})")
        return done.stdout.decode("utf-8", "surrogateescape")

    def folder(self):
        return pathlib.Path(tempfile.mkdtemp(dir=self.scratch))

    def run(self, scenario, fault, **extra):
        """Runs a scenario's command in a new place under a fault."""
        place = ground.Ground(self.folder(), scenario.far and self.far)
        scenario.prepare(place)
        place.remember()
        command = scenario.command.replace("{to}", str(place.to))
        write(place.base / "script.tav",
              f'a = (ecode: -1)\nb = a\ncode = "error"\nmessage = ""\nFILE_EXISTS file:"FAULT-BEGIN"\n'
              f'try {{ {command} -> r\ncode = r.ecode }} catch e {{ message = e.message }}\n'
              f'FILE_EXISTS file:"FAULT-END"\nprint code\nprint message\n{scenario.tail}\n')
        environment = dict(os.environ, LD_PRELOAD=str(self.library),
                           FAULT_COUNT=str(place.base / "count"), FAULT_REFUSE=scenario.refuse,
                           **extra)
        with open(place.base / scenario.stdin if scenario.stdin else os.devnull) as stdin:
            done = subprocess.run(
                [self.tavhost, "--db", "area", "run", "script.tav"], cwd=place.base,
                env=environment, stdin=stdin, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                timeout=120, text=True)
        killed = done.returncode == -9 and fault == "kill"
        if done.returncode != 0 and not killed:
            raise Broken(f"exit code {done.returncode}: {done.stderr.strip()} "
                         f"(left in {place.base})")
        place.code, _, rest = done.stdout.partition("\n")
        place.message, _, place.printed = rest.partition("\n")
        place.success = place.code == scenario.success
        place.fault, place.path = fault, extra.get("FAULT_PATH")
        if not killed:
            acts, place.acted_at, *place.calls = (place.base / "count").read_text().split()
            place.acts = int(acts)
        return place

    def check(self, scenario, place):
        if place.code == "error" and " could not be stored: " not in place.message:
            raise Broken(f"the error does not name file and reason: {place.message!r}")
        scenario.check(place)
        place.check_outside()
        cannot_remove = place.fault.startswith("error:") and place.acted_at == "unlinkat"
        if place.fault != "kill" and not place.fault.startswith("errors:") and not cannot_remove:
            place.check_no_strays()
        # What a signal interrupts is done again.
        if place.fault in ("none", "short", error("EINTR")) and not place.success:
            raise Broken(f"it fails without a fault, {place.acted_at}")

    def count(self, scenario):
        place = self.run(scenario, "none")
        self.check(scenario, place)
        place.remove()
        if not place.calls:
            raise Broken("no system calls were seen")
        return place.calls

    def try_fault(self, scenario, at, fault, path):
        extra = {"FAULT_AT": str(at), "FAULT_DO": fault}
        if path:
            extra |= {"FAULT_PATH": path, "FAULT_ASIDE": "aside",
                      "FAULT_LINK": "../" * path.count("/") + scenarios.reached(path)}
        place = self.run(scenario, fault, **extra)
        try:
            self.check(scenario, place)
            if fault == "kill" and scenario.again:
                self.do_again(scenario, place)
        except Broken as broken:
            where = f" of {path}" if path else ""
            raise Broken(f"{fault}{where} at call {at}: {broken} (left in {place.base})") from None
        place.remove()

    def do_again(self, scenario, place):
        """After a command was killed it can be run again; files left behind do not hinder it."""
        command = scenario.again.replace("{to}", str(place.to))
        printed = self.script(place.base, f"{command} -> r\nprint r.ecode\n{scenario.tail}\n")
        code, _, place.printed = printed.partition("\n")
        place.success = code == scenario.success
        if not place.success:
            raise Broken("it fails when it is done again")
        scenario.check(place)
        place.check_outside()
        strays = place.strays()
        if not strays or not scenario.listed:
            return
        # A leftover file is an ordinary one: listed, copied and deleted like any other.
        folder = strays[0].parent
        printed = self.script(place.base, f"""
            DIR_LIST path:"{folder}" filemask:".tavhost-*.tmp"
            print ecode, files
            DIR_CREATE path:"taken"
            COPY_FILES "{folder}" to:"taken" no-overwrite
            print ecode
            DELETE_FILES "taken"
            print ecode
            DELETE_FILES "{place.to}\\\\*"
            print ecode
        """)
        names = "*".join(sorted(stray.name for stray in strays))
        if printed != f"0 {names}\n0\n0\n0\n" or os.listdir(place.to):
            raise Broken(f"with a leftover file: {printed!r}")


def sample(calls, most):
    """Some of the calls, evenly."""
    if len(calls) <= most:
        return calls
    return sorted({calls[round(i * (len(calls) - 1) / (most - 1))] for i in range(most)})


def arrival(functions, mark):
    """The number of the call that a mark of `Scenario.named` means."""
    behind, number = mark
    begin = functions.index(behind) + 1 if behind else 0
    opens = [at for at in range(begin, len(functions)) if functions[at] == "openat"]
    return 1 + opens[number - 1]


def calls_to_try(scenario, functions, fault, path, long):
    """The numbers of the calls at which a fault is tried."""
    first = arrival(functions, scenario.named[path]) if path in scenario.named else 0
    calls = range(1 + first, len(functions) + 1)
    if path:
        return sample(calls, scenario.most if long or scenario.is_short else 6)
    if fault == "short":
        calls = [at for at in calls if functions[at - 1] in SHORTENED]
    if long or scenario.is_short:
        return calls
    # One call of each function, the one in the middle.
    of_function = {}
    for at in calls:
        of_function.setdefault(functions[at - 1], []).append(at)
    return sorted(numbers[len(numbers) // 2] for numbers in of_function.values())


def error(name):
    return f"error:{getattr(errno, name)}"


def kinds_of_fault(scenario, long):
    """Each with the file or folder with which it is done, if any."""
    errors = ["EIO", "EINTR"]
    if long:
        errors += ["ENOSPC", "EACCES", "ENOENT", "EEXIST", "EXDEV", "ELOOP", "EINVAL",
                   "EMFILE", "ENOSYS"]
    for name in errors if not scenario.only_swaps else []:
        if name != scenario.believed:
            yield error(name), None
    if not scenario.only_swaps:
        yield "kill", None
        yield "short", None
        if long:
            yield f"errors:{errno.EIO}", None
            yield f"errors:{errno.ENOSPC}", None
    for fault, paths in scenario.acts.items():
        for path in paths:
            yield fault, path


def fault_cases(runner, options):
    long = options.long
    for scenario in scenarios.ALL:
        if not re.search(options.only, scenario.name):
            continue
        if scenario.far and not runner.far:
            print(f"skipped here, where there is no second file system: {scenario.name}")
            continue
        try:
            functions = runner.count(scenario)
        except (Broken, subprocess.SubprocessError) as broken:
            yield scenario.name, lambda broken=broken: raise_it(broken)
            continue
        for fault, path in kinds_of_fault(scenario, long):
            for at in calls_to_try(scenario, functions, fault, path, long):
                yield scenario.name, (lambda s=scenario, a=at, f=fault, p=path:
                                      runner.try_fault(s, a, f, p))


def raise_it(broken):
    raise broken


class Disk:
    """A small file system of its own."""

    def __init__(self, folder, options):
        self.folder, self.options = folder, options

    def __enter__(self):
        self.folder.mkdir()
        subprocess.run(["mount", "-t", "tmpfs", "-o", self.options, "none", str(self.folder)],
                       check=True)

    def __exit__(self, *_):
        # At once, though a process that is just being started may still hold a file of it.
        subprocess.run(["umount", "--lazy", str(self.folder)], check=True)


def can_mount():
    if os.geteuid() != 0:
        return False
    with tempfile.TemporaryDirectory() as folder:
        mounted = subprocess.run(["mount", "-t", "tmpfs", "none", folder],
                                 stderr=subprocess.DEVNULL).returncode == 0
        if mounted:
            subprocess.run(["umount", folder], check=True)
    return mounted


def full_disk(runner, options, with_old, must_be_full):
    """A small file system that fills up, by bytes or by names."""
    folder = runner.folder()
    make_tree(folder / "src", NEW)
    make_tree(folder / "moved", NEW)
    with Disk(folder / "disk", options):
        disk = folder / "disk"
        full = False
        try:
            (disk / "to").mkdir()
            (disk / "area/0").mkdir(parents=True)
            (disk / "area/0/file").write_text(OLD)
            if with_old:
                make_tree(disk / "to" / "src", OLD)
        except OSError:
            return  # not even what is to be there before fits
        (folder / "area").symlink_to("disk/area")
        printed = runner.script(folder, f"""
            COPY_FILES "src" to:"disk/to" overwrite-existing-dir
            print ecode
            MOVE_FILES "moved" to:"disk"
            print ecode
            FWRITE file:"db:\\\\file" text:(upper(join(range(0, 20000, 1), ",")))
            print ecode
            FCOPY from:"src/sub/large.bin" to:"db:\\\\file"
            print ecode
            FWRITE file:"disk/short" text:(upper(join(range(0, 100000, 1), ",")))
            print ecode, written > 400000
        """).split("\n")
        full = printed[0] == "1" and printed[1] == "1" and printed[4] != "0 1"
        if must_be_full and not full:
            raise Broken(f"the disk was not full: {printed!r}")
        for name in SOURCES:
            new = contents(NEW, name)
            if (folder / "src" / name).read_text() != new:
                raise Broken(f"the source {name} is not intact")
            target = disk / "to" / "src" / name
            if (target.read_text() if target.exists() else None) not in (
                    {new} if printed[0] == "0" else {None, contents(OLD, name), new}):
                raise Broken(f"the target {name} is half written")
            places = [path.read_text() for path in
                      (folder / "moved" / name, disk / "moved" / name) if path.exists()]
            if new not in places or set(places) != {new}:
                raise Broken(f"{name} was lost on its way to a full disk")
        stored = (disk / "area/0/file").read_text()
        whole = ",".join(map(str, range(20000)))
        if stored not in (OLD, whole, contents(NEW, "sub/large.bin")):
            raise Broken("the database file is half written")
        strays = list(disk.rglob(".tavhost-*.tmp"))
        if strays:
            raise Broken(f"left behind: {strays}")
    shutil.rmtree(folder)


def full_disk_cases(runner, long):
    yield "a full disk", lambda: full_disk(runner, "size=450k", True, True)
    yield "a disk without free names", lambda: full_disk(runner, "nr_inodes=12", False, True)
    for kilobytes in range(16, 3000, 4) if long else ():
        yield "a full disk", lambda k=kilobytes: full_disk(runner, f"size={k}k", k % 8 == 0, False)
    for inodes in range(2, 48) if long else ():
        for old in (False, True):
            yield "a disk without free names", (
                lambda i=inodes, o=old: full_disk(runner, f"nr_inodes={i}", o, False))


def deep_folder(top, levels, with_files=True):
    """A chain of folders, with a file in each or not, deeper than any path can name."""
    os.mkdir(top)
    at = os.open(top, os.O_RDONLY)
    for level in range(levels):
        if with_files:
            os.close(os.open("z", os.O_CREAT | os.O_WRONLY, dir_fd=at))
        os.mkdir("d", dir_fd=at)
        inner = os.open("d", os.O_RDONLY, dir_fd=at)
        os.close(at)
        at = inner
    os.close(at)


def depth_of(top):
    """How many levels of such a chain there are, a file in each."""
    at = os.open(top, os.O_RDONLY)
    levels = 0
    while "d" in (names := os.listdir(at)):
        if names != ["d", "z"] and names != ["z", "d"]:
            raise Broken(f"at level {levels} there are {names}")
        inner = os.open("d", os.O_RDONLY, dir_fd=at)
        os.close(at)
        at, levels = inner, levels + 1
    os.close(at)
    return levels


def deep_tree(runner, levels):
    """A tree deeper than the stack, and than a process may have files open, copied, moved and
    deleted, in a memory that grows with its depth and no faster."""
    folder = runner.folder()
    deep_folder(folder / "deep", levels)
    (folder / "copy").mkdir()
    (folder / "moved").mkdir()

    def do(command):
        write(folder / "script.tav", f"{command}\nprint ecode\n")
        limits = f"ulimit -n 64; ulimit -v {(1 << 20) + 10 * levels}; "
        done = subprocess.run(["bash", "-c", limits + 'exec "$0" run script.tav', runner.tavhost],
                              cwd=folder, text=True, stdout=subprocess.PIPE, timeout=3600)
        if done.stdout != "0\n":
            raise Broken(f"{command}: {done.stdout!r}, exit code {done.returncode} "
                         f"(left in {folder})")

    do('COPY_FILES "deep" to:"copy"')
    if [depth_of(folder / "deep"), depth_of(folder / "copy/deep")] != [levels, levels]:
        raise Broken(f"the copy is not whole (left in {folder})")
    do('MOVE_FILES "deep" to:"moved"')
    if (folder / "deep").exists() or depth_of(folder / "moved/deep") != levels:
        raise Broken(f"not all was moved (left in {folder})")
    do('DELETE_FILES "copy/*"')
    do('DELETE_FILES "moved/deep"')
    if sorted(os.listdir(folder)) != ["copy", "moved", "script.tav"] or (
            os.listdir(folder / "copy") or os.listdir(folder / "moved")):
        raise Broken(f"something is left (in {folder})")


def dry_run_of_deep_tree(runner, levels):
    """A dry run tells every step in a tree whose paths are longer than the system takes."""
    folder = runner.folder()
    deep_folder(folder / "deep", levels)
    (folder / "moved").mkdir()
    (folder / "plan").touch()
    with open(folder / "plan", "wb") as plan:
        subprocess.run(["bash", "-c", 'ulimit -n 64; exec "$0" send --dry-run "$@"', runner.tavhost,
                        'MOVE_FILES "deep" to:"moved"', 'DELETE_FILES "moved"'], cwd=folder,
                       stdout=plan, check=True, timeout=600)
    with open(folder / "plan", "rb") as plan:
        plan.seek(-300, os.SEEK_END)
        said = plan.read().decode().splitlines()[-1]
    expect(said, f"in all, would move ({levels}), delete ({levels}), delete the directory "
                 f"({2 * levels + 3}), create the directory ({levels + 1}); failures: 0", folder)
    if depth_of(folder / "deep") != levels:
        raise Broken(f"something was done (left in {folder})")
    remove(folder)


def stopped_dry_run(runner, command):
    """A dry run of a deep tree ends at once when it is stopped."""
    folder = runner.folder()
    deep_folder(folder / "deep", 5000, with_files=False)
    (folder / "to").mkdir()
    with open(folder / "plan", "wb") as plan:
        process = subprocess.Popen([runner.tavhost, "send", "--dry-run", command], cwd=folder,
                                   stdout=plan, stderr=subprocess.PIPE)
    waiting.until(lambda: (folder / "plan").stat().st_size > 3_000_000, "it stands deep in the tree")
    begin = time.monotonic()
    process.send_signal(signal.SIGTERM)
    _, err = process.communicate(timeout=60)
    seconds = time.monotonic() - begin
    if (process.returncode, err) != (143, b"") or seconds > 1:
        raise Broken(f"{command}: exit code {process.returncode} after {seconds:.2f} s: {err!r} "
                     f"(left in {folder})")
    remove(folder)


# Calls for each level of a chain of folders with a file in each. What is done for a level must not
# depend on how deep it lies.
CALLS_A_LEVEL = {'COPY_FILES "deep" to:"copy"': 40, 'MOVE_FILES "deep" to:"moved"': 45,
                 'DELETE_FILES "copy/*"': 20, 'DELETE_FILES "moved/deep"': 20}


def calls_of_deep_tree(runner, levels):
    """What a tree costs grows with its depth, and no faster: few calls for each level, and none
    that goes over more than one of them."""
    folder = runner.folder()
    deep_folder(folder / "deep", levels)
    (folder / "copy").mkdir()
    (folder / "moved").mkdir()
    for command, most in CALLS_A_LEVEL.items():
        write(folder / "script.tav", f'FILE_EXISTS file:"FAULT-BEGIN"\n{command}\ncode = ecode\n'
                                     'FILE_EXISTS file:"FAULT-END"\nprint code\n')
        environment = dict(os.environ, LD_PRELOAD=str(runner.library), FAULT_COUNT="count")
        done = subprocess.run([runner.tavhost, "run", "script.tav"], cwd=folder, env=environment,
                              stdout=subprocess.PIPE, text=True, timeout=600)
        if done.stdout != "0\n":
            raise Broken(f"{command}: {done.stdout!r} (left in {folder})")
        _, _, *calls = (folder / "count").read_text().split()
        if not levels < len(calls) < most * levels:
            often = collections.Counter(calls).most_common(8)
            raise Broken(f"{command}: {len(calls)} calls for {levels} levels, of these {often}")
    remove(folder)


def look_of_folders(runner):
    """Folders keep their permissions and times, whatever mask the process has; what is made for a
    private one is never open to others."""
    folder = runner.folder()
    modes = {"private": 0o700, "locked": 0o555, "shared": 0o1777, "group": 0o750}
    for name, mode in modes.items():
        write(folder / "src" / name / "file", name)
        write(folder / "src" / name / "inner" / "file", name)
        for path in (folder / "src" / name / "inner", folder / "src" / name):
            os.utime(path, ns=(10 ** 18, 10 ** 18 + 7))
            path.chmod(mode)
    for name in ("copy", "moved", "filled"):
        (folder / name).mkdir()
    (folder / "filled/src").mkdir(mode=0o711)
    owner = {"preexec_fn": lambda: os.umask(0o027)}
    expect(runner.script(folder, """
        COPY_FILES "src" to:"copy"
        print ecode
        COPY_FILES "src" to:"filled" overwrite-existing-dir
        print ecode
    """, **owner), "0 0", folder)
    for path in (folder / "src").rglob("*"):
        if path.is_dir():
            path.chmod(stat.S_IMODE(path.stat().st_mode) | 0o700)  # or it cannot be emptied
            os.utime(path, ns=(10 ** 18, 10 ** 18 + 7))
    expect(runner.script(folder, 'MOVE_FILES "src" to:"moved"\nprint ecode', **owner), "0", folder)
    if stat.S_IMODE((folder / "filled/src").stat().st_mode) != 0o711:
        raise Broken(f"a folder that was there has changed (left in {folder})")
    for (place, extra), (name, mode) in itertools.product(
            (("copy", 0), ("filled", 0), ("moved", 0o700)), modes.items()):
        for path in (folder / place / "src" / name, folder / place / "src" / name / "inner"):
            found = path.stat()
            if (stat.S_IMODE(found.st_mode), found.st_mtime_ns) != (mode | extra, 10 ** 18 + 7):
                raise Broken(f"{path}: {found.st_mode:o} {found.st_mtime_ns} (left in {folder})")
            path.chmod(0o700)
    shutil.rmtree(folder)


def long_names(runner):
    """Names of more than 255 bytes, which file systems that count letters allow, are whole."""
    library = pathlib.Path(runner.scratch) / "long_names.so"
    subprocess.run(["cc", "-shared", "-fPIC", "-O1", "-Wall", "-Werror", "-o", library,
                    HERE / "long_names_preload.c", "-ldl"], check=True)
    folder = runner.folder()
    letter = "\u5b57"
    for name in ("~86~", "~86~.txt", "~255~", "~90~/~100~/~86~x", "plain"):
        write(folder / "src" / name, name)
    # What a name that is cut would mean: 258 bytes are 2 more than 256.
    cut = os.fsencode(folder / "src") + b"/" + letter.encode()[:2]
    with open(cut, "wb") as file:
        file.write(b"kept")
    for name in ("copy", "moved"):
        (folder / name).mkdir()
    before = snapshot(folder / "src", times=False)
    printed = runner.script(folder, f"""
        one = "{letter * 86}"
        DIR_LIST path:"src" filemask:"{letter}*"
        print ecode, len(split(files, "*")), len(split(files, "*")[2]), len(dirs)
        FREAD file:("src/" + one)
        print ecode, text
        COPY_FILES "src" to:"copy"
        print ecode
        MOVE_FILES "copy/src/*" to:"moved"
        print ecode
        DELETE_FILES ("src/" + one)
        print ecode
        DELETE_FILES "src/{letter}*.txt"
        print ecode
        FILE_RENAME from:"src/{letter * 255}" to:"src/short"
        print ecode
    """, env=dict(os.environ, LD_PRELOAD=str(library)))
    expect(printed, "0 3 255 90 0 ~86~ 0 0 0 0 0", folder)
    if snapshot(folder / "moved", times=False) != before:
        raise Broken(f"the trees differ (left in {folder})")
    left = sorted(os.listdir(os.fsencode(folder / "src")))
    if left != sorted([os.path.basename(cut), b"plain", b"short", b"~90~"]):
        raise Broken(f"{left} is left (in {folder})")
    shutil.rmtree(folder)


def wide_folder(runner, entries):
    """A folder with very many entries."""
    folder = runner.folder()
    (folder / "wide").mkdir()
    for i in range(entries):
        os.close(os.open(folder / "wide" / f"entry-{i:06}", os.O_CREAT | os.O_WRONLY))
    printed = runner.script(folder, """
        DIR_LIST path:"wide"
        print ecode, len(split(files, "*"))
        DIR_CREATE path:"copy"
        COPY_FILES "wide" to:"copy"
        print ecode
        DIR_CREATE path:"to"
        MOVE_FILES "wide" to:"to"
        print ecode
        DIR_LIST path:"copy/wide" filemask:"e*"
        print ecode, len(split(files, "*"))
        DELETE_FILES "to/wide/*"
        print ecode
        IS_DIR_EMPTY path:"to/wide"
        print isempty
        DELETE_FILES "copy"
        print ecode
    """)
    if printed.split() != ["0", str(entries), "0", "0", "0", str(entries), "0", "1", "0"]:
        raise Broken(f"{printed!r} (left in {folder})")
    shutil.rmtree(folder)


def stopped_in_place(runner):
    """A file written in place on a disk that has stopped working for a while is finished, however
    long that takes; nobody is blamed for it."""
    folder = runner.folder()
    write(folder / "a", "old")
    os.link(folder / "a", folder / "b")
    write(folder / "script.tav", 'FILE_EXISTS file:"FAULT-BEGIN"\n'
                                 'FWRITE file:"a" text:"new"\nprint "ended"\n')
    environment = dict(os.environ, LD_PRELOAD=str(runner.library), FAULT_AT="1", FAULT_DO="stuck")
    process = subprocess.Popen([runner.tavhost, "run", "script.tav"], cwd=folder, env=environment,
                               stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    waiting.until((folder / "stuck").exists, "the file is being written")
    process.send_signal(signal.SIGINT)
    try:
        out, err = process.communicate(timeout=40)
    except subprocess.TimeoutExpired:
        process.kill()
        raise Broken(f"it goes on (left in {folder})") from None
    line = rb"tavhost: the stop takes effect when (.*/)?a is stored\n"
    if (process.returncode, out) != (130, b"") or not re.fullmatch(line, err):
        raise Broken(f"exit code {process.returncode}: {out!r} {err!r} (left in {folder})")
    if (folder / "b").read_bytes() != b"new":
        raise Broken(f"it is not finished (left in {folder})")
    shutil.rmtree(folder)


def stopped(runner, command, files):
    """A command on a slow disk that is stopped in its middle ends within a second; what it has done
    stays, nothing is half done."""
    folder = runner.folder()
    for name in range(files):
        write(folder / f"src/{'' if name % 2 else 'sub/'}{name:04}", NEW * 10)
    (folder / "to").mkdir()
    before = snapshot(folder / "src", times=False)
    write(folder / "script.tav", f'FILE_EXISTS file:"FAULT-BEGIN"\n'
                                 f'FWRITE file:"mark" text:""\n{command}\nprint "ended"\n')
    environment = dict(os.environ, LD_PRELOAD=str(runner.library), FAULT_SLOW="5")
    process = subprocess.Popen([runner.tavhost, "run", "script.tav"], cwd=folder, env=environment,
                               stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    waiting.until((folder / "mark").exists, "the script writes its mark")
    waiting.until_at_work(process)
    begin = time.monotonic()
    process.send_signal(signal.SIGINT)
    try:
        out, _ = process.communicate(timeout=30)
    except subprocess.TimeoutExpired:
        process.kill()
        raise Broken(f"it goes on (left in {folder})") from None
    seconds = time.monotonic() - begin
    if (process.returncode, out) != (130, b"") or seconds > 1:
        raise Broken(f"exit code {process.returncode} after {seconds:.2f} s: {out!r}")
    found = {name: entry for top in ("src", "to/src") if (folder / top).exists()
             for name, entry in snapshot(folder / top, times=False).items()}
    wrong = {name for name, entry in found.items() if entry != before.get(name)}
    if wrong or (found != before and not command.startswith("DELETE")):
        raise Broken(f"wrong: {sorted(wrong)[:5]}, {len(found)} of {len(before)} are there "
                     f"(left in {folder})")
    if list(folder.rglob(".tavhost-*")):
        raise Broken(f"something is left behind (in {folder})")
    shutil.rmtree(folder)


def stopped_deep(runner, command, calls):
    """A command that stands deep in a tree when the disk becomes slow ends as fast as it would at
    the top when it is stopped: on its way up nothing is done any more."""
    folder = runner.folder()
    deep_folder(folder / "deep", 2000)
    (folder / "to").mkdir()
    write(folder / "script.tav", f'FILE_EXISTS file:"FAULT-BEGIN"\n{command}\nprint "ended"\n')
    environment = dict(os.environ, LD_PRELOAD=str(runner.library), FAULT_AT=str(calls),
                       FAULT_DO="crawl")
    process = subprocess.Popen([runner.tavhost, "run", "script.tav"], cwd=folder, env=environment,
                               stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    waiting.until((folder / "crawling").exists, "it stands deep in the tree")
    begin = time.monotonic()
    process.send_signal(signal.SIGTERM)
    out, err = process.communicate(timeout=60)
    seconds = time.monotonic() - begin
    if (process.returncode, out, err) != (143, b"", b"") or seconds > 1:
        raise Broken(f"{command}: exit code {process.returncode} after {seconds:.2f} s: {out!r} "
                     f"{err!r} (left in {folder})")
    remove(folder)


def expect(printed, wanted, folder):
    if printed.split() != wanted.split():
        raise Broken(f"{printed.split()} instead of {wanted.split()} (left in {folder})")


TAKE_ALL = """
    DIR_CREATE path:"copy"
    COPY_FILES "src" to:"copy"
    print ecode
    DIR_CREATE path:"moved"
    MOVE_FILES "src" to:"moved"
    print ecode
"""


def names_of_any_byte(runner):
    """Files and folders whose names hold every byte that a name may hold."""
    folder = runner.folder()
    source = os.fsencode(folder / "src")
    os.mkdir(source)
    names = [b"a" + bytes([byte]) + b"z" for byte in range(1, 256) if byte not in b"/\\*?"]
    names += [bytes([byte]) for byte in range(1, 256) if byte not in b"/\\*?."]
    names += [b"...", b".x", b"-rf", b"C:x", b"db:", b"[a-z]", b"\xff" * 255, b"n" * 255,
              "größer".encode(), b"name.", b"name "]
    for name in names:
        with open(os.path.join(source, name), "wb") as file:
            file.write(name)
        inner = os.path.join(source, (b"d" + name)[:255])
        os.mkdir(inner)
        with open(os.path.join(inner, name), "wb") as file:
            file.write(name * 2)
    before = snapshot(folder / "src", times=False)
    expect(runner.script(folder, TAKE_ALL), "0 0", folder)
    if (folder / "src").exists() or snapshot(folder / "copy/src", times=False) != before or (
            snapshot(folder / "moved/src", times=False) != before):
        raise Broken(f"the trees differ (left in {folder})")
    printed = runner.script(folder, """
        DELETE_FILES "copy"
        print ecode
        DELETE_FILES "moved/s*"
        print ecode
    """)
    expect(printed, "0 0", folder)
    if (folder / "copy").exists() or os.listdir(folder / "moved"):
        raise Broken(f"something is left (in {folder})")
    shutil.rmtree(folder)


def names_that_no_path_can_name(runner, name, is_folder):
    """They make a recursive command fail; what a path with them would mean stays as it is."""
    folder = runner.folder()
    for target in ("src/x/y", "src/xy", "src/x/keep"):
        write(folder / target, "keep")
    entry = folder / "src" / name
    write(entry / "inner" if is_folder else entry, "odd")
    before = snapshot(folder / "src")
    (folder / "copy").mkdir()
    (folder / "moved").mkdir()
    printed = runner.script(folder, f"""
        COPY_FILES "src" to:"copy"
        print ecode
        MOVE_FILES "src/xy" to:"moved"
        MOVE_FILES "moved/xy" to:"src"
        print ecode
        DELETE_FILES "src/x{name[1] if name[1] != chr(92) else chr(92) * 2}y"
    """)
    found = snapshot(folder / "src")
    if printed.split() != ["1", "0"]:
        raise Broken(f"{printed!r} (left in {folder})")
    odd = {path: entry for path, entry in found.items() if path.split(b"/")[0] == name.encode()}
    if odd != {path: entry for path, entry in before.items() if path in odd} or not odd:
        raise Broken(f"{name} changed (left in {folder})")
    shutil.rmtree(folder)


def no_plain_files(runner):
    """Pipes, sockets and links are listed, moved and deleted; what cannot be copied fails."""
    folder = runner.folder()
    (folder / "src").mkdir()
    write(folder / "outside/keep", "keep")
    outside = snapshot(folder / "outside")
    os.mkfifo(folder / "src/pipe")
    with socket.socket(socket.AF_UNIX) as door:
        door.bind(os.path.relpath(folder / "src/door"))
    for name, text in (("dir-link", "../outside"), ("file-link", "../outside/keep"),
                       ("broken", "nowhere"), ("loop", "loop"), ("itself", ".")):
        os.symlink(text, folder / "src" / name)
    before = snapshot(folder / "src")
    printed = runner.script(folder, """
        DIR_LIST path:"src"
        print ecode, files, dirs
        DIR_CREATE path:"copy"
        DIR_CREATE path:"copied"
        COPY_FILES "src/pipe" to:"copy"
        print ecode
        COPY_FILES "src/door" to:"copy"
        print ecode
        FCOPY from:"src/pipe" to:"copy/pipe"
        print ecode
        IS_DIR_EMPTY path:"copy"
        print isempty
        COPY_FILES "src/*l*" to:"copied"
        print ecode
        COPY_FILES "src/broken" to:"copied"
        print ecode
        DIR_CREATE path:"moved"
        MOVE_FILES "src" to:"moved"
        print ecode
    """)
    expect(printed, "0 broken*door*file-link*loop*pipe dir-link*itself 1 1 0 1 0 0 0", folder)
    if snapshot(folder / "moved/src") != before:
        raise Broken(f"the moved tree differs (left in {folder})")
    links = {name: entry for name, entry in before.items() if stat.S_ISLNK(entry[0])}
    if {n: e[1] for n, e in snapshot(folder / "copied").items()} != {
            n: e[1] for n, e in links.items()}:
        raise Broken(f"the links differ (left in {folder})")
    expect(runner.script(folder, 'DELETE_FILES "moved/src"\nprint ecode\n'
                                 'DELETE_FILES "copied"\nprint ecode\n'), "0 0", folder)
    if snapshot(folder / "outside") != outside or (folder / "moved/src").exists():
        raise Broken(f"outside changed, or something is left (in {folder})")
    shutil.rmtree(folder)


def without_permission(runner, mode, readable):
    """Folders that may not be read, entered or written make the command fail; nothing is lost."""
    folder = runner.folder()
    make_tree(folder / "src", NEW)
    write(folder / "src/locked/file", "kept")
    write(folder / "src/z", "z")
    (folder / "copy").mkdir()
    (folder / "moved").mkdir()
    os.chown(folder, NOBODY, NOBODY)
    for path in folder.rglob("*"):
        os.chown(path, NOBODY, NOBODY)
    before = snapshot(folder / "src", times=False)
    (folder / "src/locked").chmod(mode)
    before[b"locked"] = (stat.S_IFDIR | mode, "")
    user = {"user": NOBODY, "group": NOBODY, "extra_groups": [],
            "program": runner.for_anybody()} if os.geteuid() == 0 else {}
    (folder / "script.tav").touch()
    # What a dry run says of it is what the commands then do.
    def look(options):
        write(folder / "look.tav", "\n".join(f"{command}\nprint ecode" for command in (
            'DIR_LIST path:"src/locked"', 'DIR_LIST path:"src/locked" filemask:"file"',
            'IS_DIR_EMPTY path:"src/locked"', 'DIR_REMOVE path:"src/locked"',
            'COPY_FILES "src/locked" to:"looked"', 'COPY_FILES "src/locked/file" to:"looked"',
            'FCOPY from:"src/locked/file" to:"looked/f"', 'FREAD file:"src/locked/file"',
            'FILE_COPY from:"src/locked/file" to:"looked/g"')))
        done = subprocess.run([program, "run", *options, "look.tav"], cwd=folder, check=True,
                              stdout=subprocess.PIPE, text=True, timeout=60, **user_only)
        return [line for line in done.stdout.splitlines() if line.isdigit()]

    user_only = {key: value for key, value in user.items() if key != "program"}
    program = user.get("program", runner.tavhost)
    (folder / "looked").mkdir()
    os.chown(folder / "looked", NOBODY, NOBODY)
    planned = look(["--dry-run"])
    if (done := look([])) != planned:
        raise Broken(f"{done}, but the dry run said {planned} (left in {folder})")
    printed = runner.script(folder, """
        COPY_FILES "src" to:"copy"
        print ecode
        DELETE_FILES "src/locked"
        print ecode
        MOVE_FILES "src/*" to:"moved"
        print ecode
        DIR_LIST path:"src/locked"
        print ecode
    """, **user)
    (folder / "src/locked").chmod(mode)
    expect(printed, f"{0 if mode == 0o555 else 1} 1 1 {0 if readable else 1}", folder)
    found = {**snapshot(folder / "moved", times=False), **snapshot(folder / "src", times=False)}
    if found != before:
        raise Broken(f"something was lost: {sorted(found)} (left in {folder})")
    for path in (folder / "copy/src").rglob("*"):
        name = os.fsencode(path.relative_to(folder / "copy/src"))
        if path.is_file() and path.read_bytes() != before[name][1]:
            raise Broken(f"{path} is half written")
    shutil.rmtree(folder)


def dry_run_of_what_cannot_be_read(runner):
    """A dry run says of a source that this user may not read what the command then says, and names
    what cannot be read."""
    folder = runner.folder()
    far = pathlib.Path(tempfile.mkdtemp(dir=runner.far)) if runner.far else folder / "far"
    for name in ("file", "tree/file", "tree/shut/inner", "shut/inner", "to/x", "locked/deep/inner"):
        write(folder / name, name)
    for path in (folder, *folder.rglob("*"), *([far] if runner.far else [])):
        os.chown(path, NOBODY, NOBODY)
    # The inner ones first: behind the outer ones nothing is found any more.
    for name, mode in (("file", 0), ("tree/file", 0), ("tree/shut", 0o300), ("shut", 0o300),
                       ("locked", 0)):
        (folder / name).chmod(mode)
    cannot, untold = "what is in it cannot be read", "it cannot be told what is there"
    rows = (('FCOPY from:"file" to:"to/f"', "file", cannot),
            ('FILE_COPY from:"file" to:"to/f"', "file", cannot),
            ('FILE_COPY from:"file" to:"db:/f"', "file", cannot),
            ('COPY_FILES "file" to:"to"', "file", cannot),
            ('COPY_FILES "tree/*" to:"to"', "tree/file", cannot),
            ('COPY_FILES "tree/s*" to:"to" overwrite-existing-dir', "tree/shut", cannot),
            ('COPY_FILES "shut/*" to:"to"', "shut", cannot),
            ('COPY_FILES "shut/inner" to:"to"', "shut", cannot),
            ('DELETE_FILES "shut/*"', "shut", cannot),
            ('COPY_FILES "locked/deep" to:"to"', "locked", cannot),
            ('COPY_FILES "locked/deep/*" to:"to"', "locked/deep", untold),
            ('COPY_FILES "to/x" to:"locked/deep"', "locked/deep", untold),
            ('FCOPY from:"to/x" to:"locked/deep/x"', "locked/deep/x", untold),
            *([(f'MOVE_FILES "file" to:"{far}"', "file", cannot)] if runner.far else []))
    program = runner.for_anybody() if os.geteuid() == 0 else runner.tavhost
    user = {"user": NOBODY, "group": NOBODY, "extra_groups": []} if os.geteuid() == 0 else {}

    def said(command, *options):
        return subprocess.run(
            [program, "--db", "area", "run", *options, "-e", f"{command}\nprint ecode"],
            cwd=folder, check=True, stdout=subprocess.PIPE, text=True, timeout=60,
            **user).stdout.splitlines()

    for command, at, why in rows:
        told, done = said(command, "--dry-run"), said(command)
        if [line for line in told if line.isdigit()] != done:
            raise Broken(f"{command}: {done}, but the dry run told {told} (left in {folder})")
        if f"would fail at {folder / at}: {why} (<command line>:1)" not in told:
            raise Broken(f"{command}: told {told}, not {at}: {why} (left in {folder})")
    remove(folder)


# Each with what it answers when it failed.
BAD_LOOKS = {
    'DIR_LIST path:"src"': "(ecode: 1)",
    'IS_DIR_EMPTY path:"src"': "(ecode: 1)",
    'DIR_REMOVE path:"src"': "(ecode: 1)",
    'FWRITE file:"src/a.txt" text:"x"': "(ecode: 1, written: 0)",
    'FWRITE file:"src/a.txt" text:"x" append': "(ecode: 1, written: 0)",
    'FREAD file:"src/a.txt"': '(ecode: 2, text: "")',
    'FDELETE file:"src/a.txt"': "(ecode: 0)",
    'DELETE_FILES "src/sub"': "(ecode: 1)",
    'FILE_COPY from:"src/a.txt" to:"src/sub/b.txt"': "(ecode: 1)",
    'COPY_FILES "src/sub" to:"to" no-overwrite overwrite-existing-dir': "(ecode: 1)",
    'FILE_RENAME from:"src/a.txt" to:"src/sub/b.txt"': "(ecode: 1)",
    'FILE_RENAME from:"src/a.txt" to:"src/new"': "(ecode: 1)",
    'DIR_CREATE path:"src/sub"': "(ecode: 1)",
    'DIR_CREATE path:"src/new"': "(ecode: 1)",
}


def dry_run_on_bad_disk(runner, command):
    """Whatever call fails, a dry run has an answer for the script: what is there, or that it failed.
    It tells the steps that it would tell without the fault, or that it failed before or in one of
    them; never a list of less than there is."""
    folder = runner.folder()
    make_tree(folder / "src", NEW)
    make_tree(folder / "to/sub", OLD)
    write(folder / "script.tav", f'FILE_EXISTS file:"FAULT-BEGIN"\n{command} -> r\n'
                                 'FILE_EXISTS file:"FAULT-END"\nprint r\n')

    def run(**fault):
        environment = dict(os.environ, LD_PRELOAD=str(runner.library), FAULT_COUNT="count", **fault)
        done = subprocess.run([runner.tavhost, "run", "--dry-run", "script.tav"], cwd=folder,
                              env=environment, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                              timeout=60, text=True)
        if done.returncode != 0 or done.stderr:
            raise Broken(f"{command} under {fault}: {done} (left in {folder})")
        lines = done.stdout.splitlines()
        answer = [line for line in lines if line.startswith("(")]
        steps = {line for line in lines if re.match("would (?!fail)", line)}
        return answer, steps, done.stdout

    _, steps, told = run()
    calls = len((folder / "count").read_text().split()) - 2
    if calls < 1:
        raise Broken(f"{command} looks at nothing")
    for at, number in itertools.product(range(1, calls + 1), (errno.EIO, errno.EMFILE)):
        found, done, said = run(FAULT_AT=str(at), FAULT_DO=f"error:{number}")
        where = f"when call {at} fails with {number} (left in {folder})"
        if said != told and (found != [BAD_LOOKS[command]] or not done <= steps):
            raise Broken(f"{command}: it told {said!r}, not {told!r}, {where}")
    remove(folder)


def at_once(runner, command, target, looks):
    """Several programs write one file over and over: whoever looks sees the whole of one."""
    folder = runner.folder()
    texts = {letter: letter * 700000 for letter in "AB"}
    for letter, text in texts.items():
        write(folder / letter, text)
    write(folder / target, texts["A"])
    script = 'exists = 0\nwhile exists == 0 { %s; FILE_EXISTS file:"stop" }\n' % command
    programs = []
    for letter in "ABAB":
        name = f"{letter}{len(programs)}.tav"
        write(folder / name, f'FREAD file:"{letter}"\nx = text\n' + script.replace("{}", letter))
        programs.append(subprocess.Popen(
            [runner.tavhost, "--db", "area", "run", name], cwd=folder,
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True))
    whole = set(texts.values())
    halves = sum((folder / target).read_text() not in whole for _ in range(looks))
    (folder / "stop").touch()
    for program in programs:
        said = program.communicate()[0]
        if program.returncode != 0 or said:
            raise Broken(f"exit code {program.returncode}: {said}")
    left = list(folder.rglob(".tavhost-*.tmp"))
    if halves or left:
        raise Broken(f"{halves} of {looks} times a half-written file was seen; left behind: {left}")
    shutil.rmtree(folder)


def other_cases(runner, long):
    for command, files in (('COPY_FILES "src" to:"to"', 400), ('MOVE_FILES "src" to:"to"', 800),
                           ('DELETE_FILES "src"', 800),
                           ('DELETE_FILES "src/*"', 800)):
        yield "a stop in the middle", lambda c=command, f=files: stopped(runner, c, f)
    # Near the end of the way down, and at the beginning of the way up.
    for command, ways in (('COPY_FILES "deep" to:"to"', (25000, 28000)),
                          ('MOVE_FILES "deep" to:"to"', (25000, 28000)),
                          ('DELETE_FILES "deep"', (21000, 23000))):
        for calls in ways:
            yield "a stop deep in a tree", lambda c=command, n=calls: stopped_deep(runner, c, n)
    yield "a stop while a file is written in place", lambda: stopped_in_place(runner)
    yield "a deep tree", lambda: deep_tree(runner, 100000 if long else 3000)
    yield "a dry run of a deep tree", lambda: dry_run_of_deep_tree(runner, 5000 if long else 2500)
    for command in ('COPY_FILES "deep" to:"to"', 'MOVE_FILES "deep" to:"to"', 'DELETE_FILES "deep"'):
        yield "a stop in a dry run of a deep tree", lambda c=command: stopped_dry_run(runner, c)
    yield "the calls of a deep tree", lambda: calls_of_deep_tree(runner, 5000)
    yield "permissions and times of folders", lambda: look_of_folders(runner)
    yield "names of more than 255 bytes", lambda: long_names(runner)
    yield "a wide folder", lambda: wide_folder(runner, 400000 if long else 2000)
    yield "names of any byte", lambda: names_of_any_byte(runner)
    for name, is_folder in itertools.product(("x\\y", "x*y", "x?y"), (False, True)):
        yield "a name that no path can name", (
            lambda n=name, f=is_folder: names_that_no_path_can_name(runner, n, f))
    yield "pipes, sockets and links", lambda: no_plain_files(runner)
    for mode, readable in ((0o000, False), (0o444, True), (0o555, True), (0o311, False)):
        yield f"a folder of mode {mode:03o}", (
            lambda m=mode, r=readable: without_permission(runner, m, r))
    yield "a dry run of what cannot be read", lambda: dry_run_of_what_cannot_be_read(runner)
    for command in BAD_LOOKS:
        yield "a dry run on a bad disk", lambda c=command: dry_run_on_bad_disk(runner, c)
    looks = 5000 if long else 100
    yield "copies to one file at once", lambda: at_once(
        runner, 'FILE_COPY from:"{}" to:"target"', "target", looks)
    yield "one file written at once", lambda: at_once(
        runner, 'FWRITE file:"target" text:(x)', "target", looks)
    yield "one database file written at once", lambda: at_once(
        runner, 'FWRITE file:"db:\\\\target" text:(x)', "area/0/target", looks)


def second_file_system(scratch):
    """A folder of another file system than that of `scratch`; none when there is none."""
    for parent in (tempfile.gettempdir(), "/dev/shm", "/var/tmp", str(ROOT)):
        if os.access(parent, os.W_OK) and os.stat(parent).st_dev != os.stat(scratch).st_dev:
            return tempfile.mkdtemp(prefix="tavhost-faults-", dir=parent)
    return None


def remove(folder):
    """Trees of any depth."""
    subprocess.run(["rm", "-rf", "--", folder], check=True)


def all_cases(runner, options):
    def wanted(cases):
        return (case for case in cases if re.search(options.only, case[0]))

    yield from wanted([("every call is seen", runner.check_coverage)])
    yield from fault_cases(runner, options)
    yield from wanted(kills.cases(runner, options.long))
    yield from wanted(writers.cases(runner, options.long, Disk if can_mount() else None))
    yield from wanted(leftovers.cases(runner, options.long))
    yield from wanted(promises.cases(runner, options.long, Disk if can_mount() else None))
    yield from wanted(rights.cases(runner))
    if can_mount():
        yield from wanted(full_disk_cases(runner, options.long))
    else:
        print("skipped here, where no file system can be mounted: full disks")
    yield from wanted(other_cases(runner, options.long))


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--tavhost", default=str(ROOT / "build/bin/tavhost"))
    parser.add_argument("--long", action="store_true", help="every call, extreme trees")
    parser.add_argument("--only", default="", metavar="NAME",
                        help="the cases whose name matches this regular expression")
    parser.add_argument("--scratch", metavar="DIR", help="where to work (default: in memory)")
    options = parser.parse_args()
    # In the background of a shell it is ignored, also by the programs that are to be stopped here.
    signal.signal(signal.SIGINT, signal.default_int_handler)
    failures = cases = 0
    lock = threading.Lock()

    def judge(name, case):
        nonlocal failures, cases
        try:
            case()
            failed = None
        except (Broken, OSError, ValueError, subprocess.SubprocessError) as broken:
            failed = f"{type(broken).__name__}: {broken}"
        with lock:
            cases += 1
            if failed:
                failures += 1
                print(f"FAILED {name}: {failed}", flush=True)

    memory = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None
    scratch = tempfile.mkdtemp(prefix="tavhost-faults-", dir=options.scratch or memory)
    os.chmod(scratch, 0o755)
    far = second_file_system(scratch)
    if far:
        os.chmod(far, 0o755)
    runner = Runner(os.path.abspath(options.tavhost), scratch, far)
    with concurrent.futures.ThreadPoolExecutor(WORKERS) as pool:
        list(pool.map(lambda item: judge(*item), all_cases(runner, options)))
    if not failures:  # otherwise it stays to be looked at
        remove(scratch)
        if far:
            remove(far)
    print(f"{cases - failures} passed, {failures} failed")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
