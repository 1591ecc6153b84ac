"""What docs/files.md promises that a script alone cannot bring about: pipes, links, second names,
other folders, full disks, programs that end in the middle."""
import errno
import fcntl
import itertools
import os
import pathlib
import re
import select
import shutil
import signal
import stat
import subprocess
import sys
import time

from ground import Broken, snapshot, write
from writers import (OPEN, PATIENCE, expect_no_strays, expect_text, finish, start, start_slowly,
                     wait)


def expect(what, found, wanted):
    if found != wanted:
        raise Broken(f"{what}: {found!r} instead of {wanted!r}")


def said(runner, folder, text, wanted, **more):
    finish(start(runner, folder, text, **more), wanted)


def pipe_without_reader(runner, folder):
    """It is not waited for, whichever way it is opened; nor is one read."""
    os.mkfifo(folder / "pipe")
    begun = time.monotonic()
    said(runner, folder, """
        FWRITE file:"pipe" text:"x"
        print ecode, written
        FWRITE file:"pipe" text:"x" append
        print ecode, written
        FWRITE open file:"pipe"
        print ecode
        FREAD file:"pipe"
        print ecode, len(text)
    """, "1 0 1 0 1 2 0")
    if time.monotonic() - begun > 5:
        raise Broken("it waited for a reader")
    expect("the pipe", stat.S_ISFIFO(os.stat(folder / "pipe").st_mode), True)


def pipe_with_slow_reader(runner, folder):
    """It gets everything, and stays a pipe."""
    os.mkfifo(folder / "pipe")
    reader = os.open(folder / "pipe", os.O_RDONLY | os.O_NONBLOCK)
    program = start(runner, folder, """
        text = join(range(0, 200000, 1), ",")
        FWRITE file:"pipe" text:(text)
        print ecode, written == len(text)
    """)
    wait(lambda: select.select([reader], [], [], 0)[0], "the first byte comes")
    os.set_blocking(reader, True)
    read = 0
    while part := os.read(reader, 1 << 16):
        read += len(part)
    os.close(reader)
    finish(program, "0 1")
    expect("bytes read", read, len(",".join(map(str, range(200000)))))


def temporary_names(runner, folder):
    """Empty, new and its owner's alone; where none can be made, `filename` keeps what it had."""
    environment = dict(os.environ, TMPDIR=str(folder / "none"))
    (folder / "told").mkdir()
    done = start(runner, folder, """
        filename = "old"
        GET_TEMP_FILENAME
        print filename
        filename = ""
        GET_TEMP_FILENAME
        if filename == "" { print "no temporary file"; exit 1 }
    """, env=environment)
    printed, errors = done.communicate(timeout=PATIENCE)
    expect("without a folder", (printed, done.returncode), ("old\nno temporary file\n", 1))
    expect("the errors", errors.count("724"), 2)
    environment["TMPDIR"] = str(folder / "told")
    said(runner, folder, "GET_TEMP_FILENAME\nGET_TEMP_FILENAME\n", "", env=environment)
    made = [path.stat() for path in (folder / "told").iterdir()]
    expect("files", [(stat.S_IMODE(one.st_mode), one.st_size) for one in made], [(0o600, 0)] * 2)
    environment["TMPDIR"] = "/"
    said(runner, folder, """
        GET_TEMP_FILENAME
        print len(split(filename, "/tmp/"))
        FDELETE file:(filename)
        print ecode
    """, "2 1", env=environment)


def link_to_a_full_folder(runner, folder):
    """DIR_REMOVE removes the link, wherever it leads, and what it leads to stays."""
    write(folder / "full/inner/file", "kept")
    for name, text in (("link", "full"), ("file-link", "full/inner/file"), ("nowhere", "gone")):
        os.symlink(text, folder / name)
    names = ("link", "file-link", "nowhere")
    said(runner, folder, "".join(f'DIR_REMOVE path:"{name}"\nprint ecode\n' for name in names),
         "0 1 0")
    expect("the links", [os.path.lexists(folder / name) for name in names], [False, True, False])
    expect_text(folder / "full/inner/file", "kept")
    os.symlink("full", folder / "link")
    os.symlink("gone", folder / "nowhere")
    told = subprocess.run([runner.tavhost, "run", "--dry-run", "script.tav"], cwd=folder, text=True,
                          stdout=subprocess.PIPE, check=True, timeout=PATIENCE).stdout
    expect("a dry run", [line for line in told.splitlines() if line.isdigit()], ["0", "1", "0"])


def links_of_single_files(runner, folder):
    """The source's link is followed, the target's is replaced; a file reached through a link is not
    copied onto itself."""
    write(folder / "a", "new")
    write(folder / "b", "old")
    for name, text in (("to-a", "a"), ("to-b", "b")):
        os.symlink(text, folder / name)
    said(runner, folder, """
        FREAD file:"to-a"
        print ecode, text
        FCOPY from:"to-a" to:"a"
        print ecode
        FCOPY from:"a" to:"to-a"
        print ecode
        FILE_COPY from:"to-a" to:"to-b"
        print ecode
        FWRITE file:"to-a" text:"through"
        print ecode
    """, "0 new 0 0 0 0")
    expect("links", [os.path.islink(folder / name) for name in ("to-a", "to-b")], [True, False])
    for name, text in (("a", "through"), ("b", "old"), ("to-b", "new")):
        expect_text(folder / name, text)


def names_of_one_file(runner, folder):
    """A copy takes one name of a file and leaves the others what they had; written, they stay one
    file."""
    write(folder / "a", "new")
    for first, second in (("b", "c"), ("d", "e")):
        write(folder / first, "old")
        os.link(folder / first, folder / second)
    said(runner, folder, 'FCOPY from:"a" to:"b"\nprint ecode\nFWRITE file:"d" text:"written"\n'
                         'print ecode\nFILE_RENAME from:"d" to:"e"\nprint ecode\n', "1 0 1")
    for name, text in (("b", "new"), ("c", "old"), ("d", "written"), ("e", "written")):
        expect_text(folder / name, text)


def tree_into_itself_through_a_link(runner, folder):
    write(folder / "s/file", "kept")
    (folder / "s/in").mkdir()
    os.symlink("s/in", folder / "way")
    said(runner, folder, "".join(f'{command}\nprint ecode\n' for command in (
        'COPY_FILES "s" to:"way"', 'COPY_FILES "s\\\\*" to:"way" overwrite-existing-dir',
        'MOVE_FILES "s" to:"way"', 'MOVE_FILES "s/*" to:"way"')), "1 1 1 1")
    expect("in the tree", (sorted(os.listdir(folder / "s")), os.listdir(folder / "s/in")),
           (["file", "in"], []))


def tree_into_itself_through_a_mount(runner, folder, _):
    """One directory under two names, without a link, each item of a wildcard, too; in a dry run as in
    earnest nothing is written."""
    for name in ("s/a/in", "s/b", "m", "to/inner", "s/here", "x"):
        (folder / name).mkdir(parents=True)
    write(folder / "s/file", "kept")
    subprocess.run(["mount", "--bind", folder / "s", folder / "m"], check=True)
    subprocess.run(["mount", "--bind", folder / "to", folder / "s/here"], check=True)
    try:
        before = snapshot(folder)
        for option in ([], ["--dry-run"]):
            for command in ('COPY_FILES "s" to:"m/a"', 'COPY_FILES "s/*" to:"m/a/in"',
                            'COPY_FILES "s/*" to:"m/a" overwrite-existing-dir',
                            'MOVE_FILES "s/?" to:"m/b"', 'MOVE_FILES "s" to:"m"',
                            'COPY_FILES "m/A*" to:"s/a"', 'COPY_FILES "s/*" to:"to/inner"',
                            'MOVE_FILES "s/here" to:"to"'):
                done = subprocess.run(
                    [runner.tavhost, "run", *option, "-e", f"{command}\nprint ecode"], cwd=folder,
                    stdout=subprocess.PIPE, text=True, check=True, timeout=PATIENCE).stdout
                if "1" not in done.splitlines() or re.search("^would (?!fail)", done, re.M):
                    raise Broken(f"{command} {option} said {done!r} (left in {folder})")
                if snapshot(folder) != before:
                    raise Broken(f"{command} {option} changed something (left in {folder})")
        said(runner, folder, 'COPY_FILES "s/*" to:"to" no-overwrite\nprint ecode\n'
                             'COPY_FILES "s/f*" to:"m/a"\nprint ecode\n', "1 0")
        expect_text(folder / "s/a/file", "kept")
        subprocess.run(["mount", "--bind", folder / "s/a/in", folder / "x"], check=True)
        said(runner, folder, 'COPY_FILES "s" to:"x"\nprint ecode\n', "1")
        found = sorted(str(path.relative_to(folder / "x")) for path in (folder / "x").rglob("*"))
        expect("in a directory further inside", found, ["s", "s/a", "s/a/file"])
    finally:
        subprocess.run(["umount", "--lazy", folder / "x"], check=False, stderr=subprocess.DEVNULL)
        for name in ("m", "s/here"):
            subprocess.run(["umount", "--lazy", folder / name], check=True)


# Scripts that reach files through links; those lead where the steps before have left it.
THROUGH_LINKS = (
    'FWRITE file:"loop" text:"x"; print ecode',
    'FWRITE file:"loop" text:"x" append; print ecode',
    'FWRITE open file:"loop"; print ecode',
    'FWRITE file:"dang" text:"x"; print ecode; FREAD file:"none"; print text',
    'FWRITE file:"far" text:"x"; print ecode',
    'FWRITE file:"bad" text:"x"; print ecode',
    'FWRITE file:"far" text:"x" append; print ecode',
    'FWRITE file:"lx" text:"y"; print ecode; FREAD file:"x"; print text',
    'FDELETE file:"la/f"; print ecode; FILE_EXISTS file:"a/f"; print exists; '
    'FREAD file:"la/f"; print ecode',
    'FWRITE file:"la/n" text:"y"; FREAD file:"a/n"; print text; DIR_LIST path:"a"; '
    'print files; DIR_LIST path:"la"; print files',
    'FWRITE file:"a/n" text:"y"; FREAD file:"la/n"; print text; DIR_LIST path:"la"; '
    'print files',
    'DIR_CREATE path:"la/d"; DIR_EXIST path:"a/d"; print exist; DIR_REMOVE path:"la/b"; '
    'print ecode; IS_DIR_EMPTY path:"a"; print isempty',
    'FDELETE file:"a/f"; print ecode; FILE_EXISTS file:"la/f"; print exists',
    'SET_CWD path:"la"; print ecode; GET_CWD; print cwd; FREAD file:"f"; print text',
    'COPY_FILES "dang" to:"."; print ecode',
    'COPY_FILES "loop" to:"."; print ecode',
    'COPY_FILES "la/*" to:"c"; print ecode; DIR_LIST path:"c"; print files, dirs',
    'MOVE_FILES "la/f" to:"c"; print ecode; FILE_EXISTS file:"a/f"; print exists',
    'COPY_FILES "x" to:"la"; print ecode; FREAD file:"a/x"; print text',
    'COPY_FILES "a" to:"la"; print ecode',
    'DELETE_FILES "la"; print ecode; DIR_EXIST path:"la"; print exist; '
    'FILE_EXISTS file:"a/f"; print exists',
    'DIR_REMOVE path:"la"; print ecode; DIR_EXIST path:"la"; print exist; '
    'FILE_EXISTS file:"la/f"; print exists; DIR_CREATE path:"la"; print ecode; '
    'FILE_EXISTS file:"la/f"; print exists',
    'MOVE_FILES "la" to:"c"; print ecode; FILE_EXISTS file:"la/f"; print exists; '
    'FILE_EXISTS file:"c/la/f"; print exists',
    'FCOPY from:"la/f" to:"a/f"; print ecode; FILE_RENAME from:"la/f" to:"a/g"; '
    'print ecode; FILE_EXISTS file:"la/g"; print exists',
    'DELETE_FILES "a"; print ecode; DIR_EXIST path:"la"; print exist; '
    'DIR_REMOVE path:"la"; print ecode',
    'MOVE_FILES "l*" to:"la"; print ecode; DIR_LIST path:"a"; print files; DIR_LIST path:"."; print files, dirs',
    'FILE_RENAME from:"a" to:"q"; print ecode; FILE_EXISTS file:"la/f"; print exists; '
    'FILE_EXISTS file:"q/f"; print exists',
)


# Holds files as servers of files do; gives back those before "--" when they are asked for.
HOLDER = """
import fcntl, os, signal, sys

names = sys.argv[1:]
kept = names[names.index("--") + 1:]
held = {os.open(name, os.O_RDWR): name for name in names if name != "--"}
signal.pthread_sigmask(signal.SIG_BLOCK, [signal.SIGIO])
for file in held:
    fcntl.fcntl(file, fcntl.F_SETLEASE, fcntl.F_WRLCK)
print("held", flush=True)
while True:
    signal.sigwait([signal.SIGIO])
    for file, name in list(held.items()):
        if name not in kept and fcntl.fcntl(file, fcntl.F_GETLEASE) != fcntl.F_WRLCK:
            fcntl.fcntl(file, fcntl.F_SETLEASE, fcntl.F_UNLCK)
            print(held.pop(file), flush=True)
            os.close(file)
"""


def leased(runner, folder):
    """A file that another program holds as file servers do is waited for, until that program gives it
    back; a stop ends the wait."""
    names = ["read", "written", "copied", "replaced"]
    for name in (*names, "kept"):
        write(folder / name, "old")
    with subprocess.Popen([sys.executable, "-c", HOLDER, *names, "--", "kept"], cwd=folder,
                          text=True, stdout=subprocess.PIPE) as holder:
        try:
            expect("the holder", holder.stdout.readline(), "held\n")
            said(runner, folder, """
                FREAD file:"read"
                print ecode, text
                FWRITE file:"written" text:"new" append
                print ecode
                FCOPY from:"copied" to:"copy"
                print ecode
                FWRITE file:"replaced" text:"new"
                print ecode
            """, "0 old 0 1 0")
            for name, text in (("written", "oldnew"), ("copy", "old"), ("replaced", "new")):
                expect_text(folder / name, text)
            expect("given back", [holder.stdout.readline().strip() for _ in names], names)
            begun = time.monotonic()
            stopped = subprocess.run([runner.tavhost, "--timeout", "1", "run", "-e",
                                      'FREAD file:"kept"\nprint "read"\n'], cwd=folder, text=True,
                                     stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                     timeout=PATIENCE)
            expect("stopped", stopped.stdout, "")
            if time.monotonic() - begun > 10:
                raise Broken("the stop waited for the lease")
        finally:
            holder.kill()


def open_for_the_program(runner, folder):
    """A file that was given to the program open is written in place, by its name as well: whoever
    holds it goes on with the same file."""
    for name in ("/dev/fd/{}", "/proc/self/fd/{}", "given"):
        write(folder / "given", "the old text")
        with open(folder / "given", "r+", encoding="utf-8") as given:
            said(runner, folder,
                 f'FWRITE file:"{name.format(given.fileno())}" text:"new"\nprint ecode\n', "0",
                 pass_fds=[given.fileno()])
            expect(name, given.read(), "new")
        expect_text(folder / "given", "new")


def mode_of_a_directory(runner, folder):
    """A copy that could not get its permissions is a failure."""
    (folder / "to").mkdir()
    write(folder / "src/file", "x")
    (folder / "src").chmod(0o711)
    text = """
        FILE_EXISTS file:"FAULT-BEGIN"
        COPY_FILES "src" to:"to"
        FILE_EXISTS file:"FAULT-END"
        print ecode
    """
    failed = []
    for function in ("fchmodat", "utimensat"):
        for number, wanted in ((errno.EIO, "1"), (errno.EPERM, "0")):
            shutil.rmtree(folder / "to/src", ignore_errors=True)
            environment = dict(os.environ, LD_PRELOAD=str(runner.library), FAULT_IN=function,
                               FAULT_AT="1", FAULT_DO=f"error:{number}", FAULT_COUNT=str(folder / "count"))
            said(runner, folder, text, wanted, env=environment)
            failed.append((folder / "count").read_text().split()[1])
    expect("failed calls", failed, ["fchmodat"] * 2 + ["utimensat"] * 2)


def dry_run_through_links(runner, folder):
    """What a dry run prints is what the script then prints."""
    for text in THROUGH_LINKS:
        shutil.rmtree(folder)
        (folder / "a/b").mkdir(parents=True)
        (folder / "c").mkdir()
        write(folder / "a/f", "f")
        write(folder / "x", "x")
        for name in ("l1", "lq"):
            write(folder / name, name)
        for name, leads in (("la", "a"), ("loop", "loop"), ("dang", "none"), ("lx", "x"),
                            ("far", "missing/none"), ("bad", "x/y")):
            os.symlink(leads, folder / name)
        write(folder / "script.tav", text)
        told, done = (subprocess.run([runner.tavhost, "run", *options, "script.tav"], cwd=folder,
                                     stdout=subprocess.PIPE, text=True, check=True,
                                     timeout=PATIENCE).stdout.splitlines()
                      for options in (["--dry-run"], []))
        printed = [line for line in told if not re.match("would |in all", line)]
        if printed != done or "print" not in text:
            raise Broken(f"{text}: {done}, but in a dry run {told} (left in {folder})")


def names_with_a_star(runner, folder):
    """A list of them cannot be split; the counts tell."""
    for name in ("a*b", "plain"):
        write(folder / "d" / name, "")
    (folder / "d/x*y").mkdir()
    said(runner, folder, """
        DIR_LIST path:"d"
        print len(split(files, "*")), len(split(dirs, "*"))
        for piece in split(files, "*") { FILE_EXISTS file:("d/" + piece); print exists }
        for piece in split(dirs, "*") { DIR_EXIST path:("d/" + piece); print exist }
        IS_DIR_EMPTY path:"d"
        print ecode, isempty
        IS_DIR_EMPTY path:"d/x*y"
        print ecode
    """, "3 2 0 0 1 0 0 0 0 1")


def script_in_an_odd_folder(runner, folder):
    """FWRITE writes beside the script, unless no path can name that folder."""
    for name in ("odd\\place", "place"):
        write(folder / name / "script.tav", 'FWRITE file:"out" text:"x"\nprint ecode\n')
    found = [subprocess.run([runner.tavhost, "run", folder / name / "script.tav"], cwd=folder,
                            text=True, stdout=subprocess.PIPE, timeout=PATIENCE).stdout
             for name in ("odd\\place", "place")]
    expect("codes", found, ["1\n", "0\n"])
    expect("files", sorted(str(path.relative_to(folder)) for path in folder.rglob("out")),
           ["place/out"])
    text = 'FWRITE file:"here" text:"x"\nprint ecode\n'
    for arguments, given in ((["-e", text], None), (["-"], text)):
        done = subprocess.run([runner.tavhost, "run", *arguments], cwd=folder, text=True,
                              input=given, stdout=subprocess.PIPE, timeout=PATIENCE)
        expect(f"with {arguments[0]}", done.stdout, "0\n")
        (folder / "here").unlink()


def way_up_behind_a_link(runner, folder):
    """`..` behind a link leads where the system goes: to the folder that holds the script, the
    temporary files, the area."""
    (folder / "far/inner").mkdir(parents=True)
    (folder / "tmp").mkdir()
    (folder / "far/tmp").mkdir()
    os.symlink("far/inner", folder / "link")
    write(folder / "out", "kept")
    write(folder / "far/script.tav", """
        FWRITE file:"out" text:"new"
        print ecode
        FWRITE file:"db:/k" text:"stored"
        print ecode
        GET_TEMP_FILENAME
        FWRITE file:(filename) text:"temporary"
        print ecode
    """)
    command = ["run", "--db", "link/../area", "link/../script.tav"]
    environment = dict(os.environ, TMPDIR="link/../tmp")
    done = subprocess.run([runner.tavhost, *command], cwd=folder, text=True, env=environment,
                          stdout=subprocess.PIPE, check=True, timeout=PATIENCE).stdout
    expect("codes", done, "0\n" * 3)
    expect_text(folder / "out", "kept")
    expect_text(folder / "far/out", "new")
    expect_text(folder / "far/area/0/k", "stored")
    expect("temporary files", (list((folder / "tmp").iterdir()),
                               [path.read_text() for path in (folder / "far/tmp").iterdir()]),
           ([], ["temporary"]))
    write(folder / "far/script.tav", 'FREAD file:"db:/k"\nprint text\n')
    told = subprocess.run([runner.tavhost, command[0], "--dry-run", *command[1:]], cwd=folder,
                          text=True, stdout=subprocess.PIPE, check=True, timeout=PATIENCE).stdout
    expect("read in a dry run", told.splitlines()[0], "stored")


def no_look_at_what_is_there(runner, folder):
    """The commands that ask whether something is there have no word for a disk that does not tell."""
    write(folder / "d/file", "x")
    for command, result in (('FILE_EXIST file:"d/file"', "exist"), ('DIR_EXIST path:"d"', "exist"),
                            ('FILE_EXISTS file:"d/file"', "exists")):
        asked = f"\n{command}\nprint {result}"
        environment = dict(os.environ, LD_PRELOAD=str(runner.library), FAULT_AT="1",
                           FAULT_DO="error:5")
        said(runner, folder, f'FILE_EXISTS file:"FAULT-BEGIN"{asked}{asked}', "0 1",
             env=environment)


def stop_drops_what_is_open(runner, folder):
    """A file of the area that is open when a stop comes stays what it was; a plain one has what was
    written so far."""
    write(folder / "area/0/k", "old")
    for kind in (signal.SIGINT, signal.SIGTERM):
        program = start(runner, folder, OPEN + 'DIR_CREATE path:"open"\nwhile 1 { SLEEP ms:5 }\n')
        wait((folder / "open").is_dir, "the file is open")
        program.send_signal(kind)
        program.communicate(timeout=PATIENCE)
        expect("the exit code", program.returncode, 128 + kind)
        (folder / "open").rmdir()
    expect_text(folder / "area/0/k", "old")
    expect_no_strays(folder)
    program = start(runner, folder, 'FWRITE open file:"plain"\nFWRITE text:"so far"\n'
                                    'DIR_CREATE path:"open"\nwhile 1 { SLEEP ms:5 }\n')
    wait((folder / "open").is_dir, "the file is open")
    program.kill()
    program.communicate(timeout=PATIENCE)
    expect_text(folder / "plain", "so far")


def plain_appends_at_once(runner, folder):
    """Each text is whole, in the order of the calls."""
    text = 'for i from 1 to 300 { FWRITE file:"log" text:("%d:" + i + "\\n") append }\n'
    programs = [start(runner, folder, text % number, f"{number}.tav") for number in range(3)]
    for program in programs:
        finish(program)
    lines = (folder / "log").read_text().splitlines()
    for number in range(3):
        mine = [line for line in lines if line.startswith(f"{number}:")]
        expect("lines", mine, [f"{number}:{i}" for i in range(1, 301)])
    expect("lines in all", len(lines), 900)


def files_that_are_left(runner, folder):
    """One that a killed program has left beside plain files is an ordinary file."""
    write(folder / "d/.tavhost-2147483647-1.tmp", "part")
    (folder / "to").mkdir()
    said(runner, folder, """
        IS_DIR_EMPTY path:"d"
        print isempty
        MOVE_FILES "d" to:"to"
        print ecode
        DELETE_FILES "to/d/.tavhost-*.tmp"
        print ecode
        IS_DIR_EMPTY path:"to/d"
        print isempty
        DELETE_FILES "to/d/.tavhost-*.tmp"
        print ecode
    """, "0 0 0 1 1")


def area_of_the_user(runner, folder):
    """Without --db it is a folder of the user's, other libraries beside library 0; only one
    program's command at a time makes a directory."""
    write(folder / "script.tav", 'FWRITE file:"db:\\\\k" text:"x"\n'
                                 'FILE_COPY from:"db:/k" to:"K2" to-libraryid:7\nprint ecode\n'
                                 'DIR_EXIST path:"db:\\\\"\nprint exist\n'
                                 'DIR_LIST path:"db:\\\\"\nprint ecode\n'
                                 'DELETE_FILES "db:\\\\*"\nprint ecode\n')
    for name, more in (("data", {"XDG_DATA_HOME": str(folder / "data")}),
                       ("home/.local/share", {"HOME": str(folder / "home")})):
        environment = {key: value for key, value in os.environ.items() if key != "XDG_DATA_HOME"}
        done = subprocess.run([runner.tavhost, "run", "script.tav"], cwd=folder, text=True,
                              env={**environment, **more}, stdout=subprocess.PIPE, timeout=PATIENCE)
        expect("codes", done.stdout, "0\n0\n1\n1\n")
        area = folder / name / "tavhost/db"
        expect_text(area / "0/k", "x")
        expect_text(area / "7/K2", "x")


def area_behind_a_link(runner, folder):
    """Whoever may write into the area's folder may lead a library elsewhere, but no file."""
    for name in ("area", "elsewhere"):
        (folder / name).mkdir()
    write(folder / "outside", "kept")
    os.symlink("../elsewhere", folder / "area/0")
    os.symlink("../outside", folder / "elsewhere/link")
    said(runner, folder, """
        FWRITE file:"db:/k" text:"stored"
        print ecode
        FWRITE file:"db:/link" text:"new"
        print ecode
    """, "0 1")
    expect_text(folder / "elsewhere/k", "stored")
    expect_text(folder / "outside", "kept")


def folder_that_keeps_all(runner, folder):
    """Where nothing may be taken away a text cannot take its name, and what was there stays."""
    write(folder / "d/file", "old")
    write(folder / "other", "other")
    if subprocess.run(["chattr", "+a", folder / "d"], stderr=subprocess.DEVNULL).returncode != 0:
        return
    try:
        program = start(runner, folder, """
            try { FWRITE file:"d/file" text:"new" } catch e { print "not stored" }
            FCOPY from:"other" to:"d/file"
            print ecode
        """)
        printed, _ = program.communicate(timeout=PATIENCE)
        expect("said", (printed, program.returncode), ("not stored\n0\n", 0))
        expect_text(folder / "d/file", "old")
        expect("left behind", len(list((folder / "d").glob(".tavhost-*.tmp"))), 2)
    finally:
        subprocess.run(["chattr", "-a", folder / "d"], check=True)


def writer_who_never_ends(runner, folder):
    """Who only writes one text is waited for ten seconds; then the other fails."""
    write(folder / "area/0/k", "old")
    first = start_slowly(runner, folder, 'FWRITE file:"db:\\\\k" text:"first"')
    wait(lambda: list((folder / "area/0").glob(".tavhost-*.tmp")), "the first writes")
    first.send_signal(signal.SIGSTOP)
    begun = time.monotonic()
    finish(start(runner, folder, 'FWRITE file:"db:\\\\k" text:"second"\nprint ecode\n', "two.tav"),
           "1")
    if not 9 < time.monotonic() - begun < 20:
        raise Broken(f"it waited {time.monotonic() - begun:.1f} s")
    first.send_signal(signal.SIGCONT)
    finish(first, "0")
    expect_text(folder / "area/0/k", "first")


def end_on_a_full_disk(runner, folder, disk):
    """What cannot be stored when the program ends is told, and the exit code is 1 instead of 0."""
    with disk(folder / "disk", "size=64k"):
        (folder / "disk/area").mkdir()
        (folder / "area").symlink_to("disk/area")
        for ending, code in (("", 1), ("exit 7\n", 7)):
            program = start(runner, folder, 'FWRITE file:"db:/k" text:"old"\n'
                                            'text = join(range(0, 20000, 1), ",")\n'
                                            'FWRITE open file:"db:/k"\nFWRITE text:(text)\n'
                                            f'print ecode\n{ending}')
            printed, errors = program.communicate(timeout=PATIENCE)
            expect("it printed", (printed, program.returncode), ("2\n", code))
            if "/area/0/k could not be stored: No space left on device" not in errors:
                raise Broken(f"it said {errors!r}")
            expect_text(folder / "area/0/k", "old")
            (folder / "area/0/k").unlink()
        said(runner, folder, """
            text = join(range(0, 20000, 1), ",")
            FWRITE open file:"disk/open"
            FWRITE text:(text)
            print ecode, written > 0 and written < len(text)
            FWRITE close
            print ecode
        """, "2 1 0")
    with disk(folder / "names", "nr_inodes=2"):
        write(folder / "names/one", "")
        program = start(runner, folder, 'filename = "none"\nGET_TEMP_FILENAME\nprint filename\n'
                                        'FWRITE file:"names/new" text:"x"\nprint ecode, written\n'
                                        'DIR_CREATE path:"names/dir"\nprint ecode\n'
                                        'FDELETE file:"names/one"\nprint ecode\n',
                        env=dict(os.environ, TMPDIR=str(folder / "names")))
        printed, _ = program.communicate(timeout=PATIENCE)
        expect("without free names", printed.split(), ["none", "1", "0", "1", "1"])


def mounted_on(runner, folder, disk):
    """A file on which a file system is mounted is written in place, and is what it was when the
    text does not fit."""
    with disk(folder / "disk", "size=64k"):
        write(folder / "disk/inner", "o" * 9000)
        write(folder / "file", "below")
        subprocess.run(["mount", "--bind", folder / "disk/inner", folder / "file"], check=True)
        try:
            old = "n" * 9000
            said(runner, folder, f'FWRITE file:"file" text:"{old}"\nprint ecode, written\n',
                 "0 9000")
            expect_text(folder / "disk/inner", old)
            said(runner, folder, """
                text = join(range(0, 20000, 1), ",")
                try { FWRITE file:"file" text:(text); print ecode } catch e {
                    print contains(e.message, "/file could not be stored: No space left on device")
                }
            """, "1")
            expect_text(folder / "disk/inner", old)
        finally:
            subprocess.run(["umount", "--lazy", folder / "file"], check=True)
        expect_text(folder / "file", "below")
        expect_no_strays(folder)


LEFT = {"; it stays as it was": "old", "; the new text is there, but may not survive a power cut": "new",
        "; it may hold the old text, the new one, or parts of both": None}


def what_an_error_says_is_left(runner, folder, command, names):
    """Whichever call fails: whoever catches the error and tries again knows what is there. With a
    second name a file is written in place."""
    said_of = set()
    for number in (errno.EIO, errno.ENOSPC, errno.EMFILE, errno.EINTR):
        for at in itertools.count(1):
            shutil.rmtree(folder)
            write(folder / "area/0/k", "old")
            if names == 2:
                os.link(folder / "area/0/k", folder / "second")
            write(folder / "script.tav", f'''FILE_EXISTS file:"FAULT-BEGIN"
                try {{ {command}; print ecode }} catch e {{ print e.message }}
                FILE_EXISTS file:"FAULT-END"\n''')
            done = subprocess.run(
                [runner.tavhost, "--db", "area", "run", "script.tav"], cwd=folder, text=True,
                stdout=subprocess.PIPE, timeout=PATIENCE, check=True,
                env=dict(os.environ, LD_PRELOAD=str(runner.library), FAULT_AT=str(at),
                         FAULT_DO=f"error:{number}", FAULT_COUNT="count")).stdout.strip()
            _, acted_at, *_ = (folder / "count").read_text().split()
            new = "oldnew" if "append" in command else "new"
            found = (folder / "area/0/k").read_text()
            where = f"{command}, {number} at call {at}, {acted_at} (left in {folder})"
            left = [text for text in LEFT if done.endswith(text)]
            wanted = new if done == "0" else "old" if done.isdigit() else None
            if left:
                said_of.add(left[0])
                wanted = {"old": "old", "new": new, None: found}[LEFT[left[0]]]
            if found != wanted:
                raise Broken(f"it said {done!r}, and there is {found!r}: {where}")
            if number == errno.EINTR and done != "0":
                raise Broken(f"an interruption was told, {done!r}: {where}")
            if acted_at == "none":
                break
    expect("what was said", said_of,
           {text for text, left in LEFT.items() if (left == "new") == (names == 1) or left == "old"}
           - ({"; it stays as it was"} if names == 2 else set()))


def cases(runner, long, disk):
    def in_a_folder(case, *more):
        folder = pathlib.Path(runner.folder())
        case(runner, folder, *more)
        shutil.rmtree(folder)

    plain = [pipe_without_reader, pipe_with_slow_reader, temporary_names, link_to_a_full_folder,
             links_of_single_files, names_of_one_file, tree_into_itself_through_a_link,
             names_with_a_star, script_in_an_odd_folder, way_up_behind_a_link,
             no_look_at_what_is_there, stop_drops_what_is_open, plain_appends_at_once, files_that_are_left,
             area_of_the_user, dry_run_through_links, leased, open_for_the_program,
             mode_of_a_directory, area_behind_a_link, folder_that_keeps_all]
    if long:
        plain.append(writer_who_never_ends)
    for command, names in itertools.product(
            ('FWRITE file:"db:/k" text:"new"', 'FWRITE file:"db:/k" text:"new" append'), (1, 2)):
        yield "promised: what_an_error_says_is_left", lambda c=command, n=names: in_a_folder(
            what_an_error_says_is_left, c, n)
    for case in plain:
        yield "promised: " + case.__name__, lambda c=case: in_a_folder(c)
    for case in (end_on_a_full_disk, mounted_on, tree_into_itself_through_a_mount) if disk else ():
        yield "promised: " + case.__name__, lambda c=case: in_a_folder(c, disk)
