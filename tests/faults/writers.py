"""Who writes a file that another one writes, and what becomes of a file that is left open: several
processes, full disks and slow readers, but no fault at a call."""
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1]))
from ground import Broken, write  # noqa: E402
import waiting  # noqa: E402

PATIENCE = 60


def wait(condition, what):
    try:
        waiting.until(condition, what, PATIENCE)
    except AssertionError as late:
        raise Broken(str(late)) from None


def start(runner, folder, text, name="script.tav", **more):
    write(folder / name, text)
    return subprocess.Popen([runner.tavhost, "--db", "area", "run", name], cwd=folder, text=True,
                            stdout=subprocess.PIPE, stderr=subprocess.PIPE, **more)


def start_slowly(runner, folder, command):
    """A program whose command takes its time over each step."""
    return start(runner, folder, f'FILE_EXISTS file:"FAULT-BEGIN"\n{command}\nprint ecode\n',
                 env=dict(os.environ, LD_PRELOAD=str(runner.library), FAULT_SLOW="100"))


def finish(program, wanted="", code=0):
    said, errors = program.communicate(timeout=PATIENCE)
    if program.returncode != code or said.split() != wanted.split() or errors:
        raise Broken(f"exit code {program.returncode}, said {said!r}, errors {errors!r} "
                     f"instead of {code}, {wanted!r}")


def expect_text(path, wanted):
    text = path.read_text() if path.exists() else None
    if text != wanted:
        shown = text if text is None or len(text) < 200 else text[:200] + "..."
        raise Broken(f"{path} holds {shown!r} instead of {wanted!r}")


def expect_no_strays(folder):
    left = list(folder.rglob(".tavhost-*.tmp"))
    if left:
        raise Broken(f"left behind: {left}")


OPEN = 'FWRITE open file:"db:\\\\k"\nFWRITE text:"whole"\n'


def left_open(runner):
    """A file of the area that a script leaves open is stored when the program ends; not when an error
    has cut the script short."""
    for ending, code in (("", 0), ("exit 7\n", 7), ("throw 1\n", 1)):
        folder = runner.folder()
        program = start(runner, folder, OPEN + ending)
        program.communicate(timeout=PATIENCE)
        if program.returncode != code:
            raise Broken(f"{ending!r}: exit code {program.returncode}")
        if code == 1:
            if (folder / "area/0/k").exists():
                raise Broken(f"{ending!r}: a text is stored that may not be whole")
        else:
            expect_text(folder / "area/0/k", "whole")
        expect_no_strays(folder)
        shutil.rmtree(folder)


def left_open_by_messages(runner):
    folder = runner.folder()
    done = subprocess.run([runner.tavhost, "--db", "area", "send", "-"], cwd=folder, text=True,
                          input='FWRITE open file:"db:/k"\nFWRITE text:"whole"\n',
                          stdout=subprocess.PIPE, timeout=PATIENCE)
    if done.returncode != 0 or done.stdout != " ecode:0\n ecode:0 written:5\n":
        raise Broken(f"exit code {done.returncode}: {done.stdout!r}")
    expect_text(folder / "area/0/k", "whole")
    shutil.rmtree(folder)


def left_open_in_a_service(runner):
    """A service that is stopped stores it, too."""
    folder = runner.folder()
    program = subprocess.Popen(
        [runner.tavhost, "--db", "area", "run", "-e", OPEN + 'SERVICE start port:0\nprint "up"'],
        cwd=folder, text=True, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    program.stdout.readline()
    program.send_signal(signal.SIGTERM)
    program.communicate(timeout=PATIENCE)
    if program.returncode < 0:
        raise Broken(f"signal {-program.returncode}")
    expect_text(folder / "area/0/k", "whole")
    shutil.rmtree(folder)


def second_writer(runner):
    """In one process: whoever comes second gets 1, and what the first has is stored at the end."""
    folder = runner.folder()
    write(folder / "area/0/k", "old")
    finish(start(runner, folder, OPEN + """
        FWRITE open file:"db:\\\\K"
        print ecode
        FWRITE file:"db:\\\\k" text:"other"
        print ecode
        FWRITE file:"db:\\\\k" text:"other" append
        print ecode
        FDELETE file:"db:\\\\k"
        print ecode
        FWRITE file:"db:\\\\free" text:"other"
        print ecode
        FCOPY from:"db:/free" to:"db:/k"
        print ecode
        FILE_COPY from:"db:/free" to:"K" to-libraryid:0
        print ecode
        FILE_RENAME from:"db:/k" to:"db:/other"
        print ecode
        FILE_RENAME from:"db:/free" to:"db:/K"
        print ecode
    """), "1 1 1 0 0 0 1 1 1")
    expect_text(folder / "area/0/k", "whole")
    expect_text(folder / "area/0/free", "other")
    expect_no_strays(folder)
    shutil.rmtree(folder)


def second_process(runner):
    """Between processes: refused at once while the file stays open, taken when it is closed."""
    folder = runner.folder()
    first = start(runner, folder, OPEN + """
        DIR_CREATE path:"open"
        exist = 0
        while exist == 0 { DIR_EXIST path:"close"; SLEEP ms:5 }
        FWRITE close
        DIR_CREATE path:"closed"
        exist = 0
        while exist == 0 { DIR_EXIST path:"end"; SLEEP ms:5 }
    """, "first.tav")
    second = 'FWRITE file:"db:\\\\k" text:"second"\nprint ecode\n'
    try:
        wait((folder / "open").is_dir, "the first opens the file")
        begun = time.monotonic()
        finish(start(runner, folder, second), "1")
        if time.monotonic() - begun > 5:
            raise Broken("the second writer waited for one that keeps the file open")
        (folder / "close").mkdir()
        wait((folder / "closed").is_dir, "the first closes the file")
        expect_text(folder / "area/0/k", "whole")
        finish(start(runner, folder, second), "0")
        expect_text(folder / "area/0/k", "second")
    finally:
        (folder / "end").mkdir()
        finish(first)
    shutil.rmtree(folder)


def appends_at_once(runner, processes, each):
    """What several programs append at once is all there."""
    folder = runner.folder()
    text = ('failed = 0\nfor i from 1 to %d { FWRITE file:"db:\\\\log" '
            'text:("%d:" + i + "\\n") append; failed = failed + ecode }\nprint failed\n')
    programs = [start(runner, folder, text % (each, number), f"{number}.tav")
                for number in range(processes)]
    for program in programs:
        finish(program, "0")
    lines = (folder / "area/0/log").read_text().split("\n")[:-1]
    wanted = {f"{number}:{i}" for number in range(processes) for i in range(1, each + 1)}
    if sorted(lines) != sorted(wanted):
        raise Broken(f"{len(lines)} of {len(wanted)} lines are there")
    expect_no_strays(folder)
    shutil.rmtree(folder)


def slow_reader(runner):
    """A pipe gets all of a text, however late it is read."""
    folder = runner.folder()
    program = start(runner, folder, """
        text = join(range(0, 200000, 1), ",")
        FWRITE file:"/dev/stdout" text:(text)
        FWRITE file:"codes" text:(ecode + " " + written)
    """)
    time.sleep(0.3)  # time itself is tested: the pipe is full by now
    said = program.communicate(timeout=PATIENCE)[0]
    whole = ",".join(map(str, range(200000)))
    if said != whole or program.returncode != 0:
        raise Broken(f"{len(said)} bytes came through; exit code {program.returncode}")
    expect_text(folder / "codes", f"0 {len(whole)}")
    shutil.rmtree(folder)


PRINTED_TO = """
    print "1"
    FWRITE file:"out" text:"2\n" append
    print "3"
    FWRITE open file:"out" append
    print "4"
    FWRITE text:"5\n"
    print "6"
    FWRITE close
    print "7"
"""


def printed_to(runner):
    """In a file to which the program prints, too, everything stands in the order in which it came,
    however the file was opened; whatever replaces its text, the rest stands behind."""
    folder = runner.folder()
    out = folder / "out"

    def run(text, mode, *streams):
        write(folder / "script.tav", text)
        with open(out, mode) as file:
            subprocess.run([runner.tavhost, "run", "script.tav"], cwd=folder, check=True,
                           timeout=PATIENCE, **{stream: file for stream in streams})

    whole = "".join(f"{number}\n" for number in range(1, 8))
    for mode, before in (("a", "before\n"), ("w", "")):
        write(out, "before\n")
        run(PRINTED_TO, mode, "stdout", "stderr")
        expect_text(out, before + whole)
    run('print "gone"\nFWRITE file:"out" text:"new\n"\nprint "1"', "w", "stdout")
    expect_text(out, "new\n1\n")
    run('print "gone"\nFWRITE open file:"out"\nprint "1"\nFWRITE text:"2\n"\nprint "3"', "w",
        "stdout")
    expect_text(out, "1\n2\n3\n")
    run('FWRITE file:"out" text:"1\n" append\nFWRITE file:"/dev/stderr" text:"2\n"\n'
        'FWRITE file:"out" text:"3\n" append', "w", "stderr")
    expect_text(out, "1\n2\n3\n")
    shutil.rmtree(folder)


def in_the_area(runner, folder):
    (folder / "disk/area").mkdir()
    (folder / "area").symlink_to("disk/area")
    finish(start(runner, folder, """
        text = join(range(0, 20000, 1), ",")
        FWRITE file:"db:/k" text:"old"
        FWRITE file:"db:/k" text:(text)
        print ecode, written
        FWRITE open file:"db:/k"
        FWRITE text:(text)
        print ecode, written
        try { FWRITE close; print "closed" } catch e {
            print contains(e.message, "/area/0/k could not be stored: No space left on device")
        }
        FWRITE close
        print ecode
    """), "2 0 2 0 1 1")
    expect_text(folder / "area/0/k", "old")


def at_the_end(runner, folder):
    """What grows in its place takes what fits, and says so."""
    write(folder / "disk/grown", "old,")
    finish(start(runner, folder, """
        text = join(range(0, 20000, 1), ",")
        FWRITE file:"disk/grown" text:(text) append
        print ecode, written > 0 and written < len(text)
    """), "2 1")
    text = (folder / "disk/grown").read_text()
    if not ("old," + ",".join(map(str, range(20000)))).startswith(text) or len(text) < 5:
        raise Broken(f"what was added to is {text[:80]!r}")


def too_long_for_the_disk(runner, disk):
    """A text that does not fit leaves the file, in place too."""
    folder = runner.folder()
    with disk(folder / "disk", "size=64k"):
        old = "o" * 9000
        for name in ("file", "linked"):
            write(folder / "disk" / name, old)
        os.link(folder / "disk/linked", folder / "disk/other")
        finish(start(runner, folder, """
            text = join(range(0, 20000, 1), ",")
            FWRITE file:"disk/file" text:(text)
            print ecode, written
            FWRITE file:"disk/linked" text:(text)
            print ecode, written
            FWRITE file:"disk/file" text:"short"
            print ecode, written
        """), "2 0 2 0 0 5")
        expect_text(folder / "disk/file", "short")
        in_the_area(runner, folder)
        at_the_end(runner, folder)
        expect_text(folder / "disk/linked", old)
        expect_text(folder / "disk/other", old)
        expect_no_strays(folder)
    shutil.rmtree(folder)


LARGE = 96 << 20  # bytes: more calls than a second has tenths, all of them of a few megabytes
LONG_COMMANDS = {
    "FCOPY": 'FCOPY from:"large" to:"target"',
    "FILE_COPY": 'FILE_COPY from:"large" to:"db:\\\\target" copy-file-attributes',
    "COPY_FILES": 'COPY_FILES "large" to:"folder"',
    "FWRITE": 'FWRITE file:"target" text:(text)',
    "FWRITE to the area": 'FWRITE file:"db:\\\\target" text:(text)',
    "FWRITE at the end": 'FWRITE file:"db:\\\\target" text:(text) append',
    "FREAD": 'FREAD file:"large"',
    "ENCODE": 'ENCODE file:"large"',
    "DECODE": 'DECODE file:"large"',
}


def stopped_in_the_middle(runner, name, command):
    """A command that is stopped ends within a second and leaves what was there."""
    folder = runner.folder()
    with open(folder / "large", "wb") as large:
        large.write(b"QUJD" * (LARGE // 4))
    old = "old " * 10
    for target in ("target", "folder/large", "area/0/target"):
        write(folder / target, old)
    write(folder / "script.tav", f"""
        FREAD file:"large"
        FWRITE file:"begun" text:""
        FILE_EXISTS file:"FAULT-BEGIN"
        {command}
        FWRITE file:"ended" text:""
    """)
    environment = dict(os.environ, LD_PRELOAD=str(runner.library), FAULT_AT="1", FAULT_DO="slow")
    program = subprocess.Popen([runner.tavhost, "--db", "area", "run", "script.tav"], cwd=folder,
                               env=environment, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    wait((folder / "begun").exists, "the command begins")
    time.sleep(0.3)  # time itself is tested: it is in the middle by then
    stopped = time.monotonic()
    program.send_signal(signal.SIGINT)
    program.communicate(timeout=PATIENCE)
    taken = time.monotonic() - stopped
    if (folder / "ended").exists():
        raise Broken(f"{name} came to its end before it was stopped")
    if taken > 1 or program.returncode != 130:
        raise Broken(f"{name} ended {taken:.2f} s after it was stopped, with {program.returncode}")
    for target in ("target", "folder/large", "area/0/target"):
        expect_text(folder / target, old)
    expect_no_strays(folder)
    shutil.rmtree(folder)


def cases(runner, long, disk):
    """Each a name and what to call; `disk` is null where no file system can be mounted."""
    yield "a file left open", lambda: left_open(runner)
    yield "a file left open by messages", lambda: left_open_by_messages(runner)
    yield "a file left open in a service", lambda: left_open_in_a_service(runner)
    yield "a second writer", lambda: second_writer(runner)
    yield "a second writer in another process", lambda: second_process(runner)
    yield "appends at once", lambda: appends_at_once(runner, 3, 150 if long else 50)
    yield "a slow reader", lambda: slow_reader(runner)
    yield "a file that is printed to", lambda: printed_to(runner)
    for name, command in LONG_COMMANDS.items():
        yield f"{name} stopped", lambda n=name, c=command: stopped_in_the_middle(runner, n, c)
    if disk:
        yield "a text too long for the disk", lambda: too_long_for_the_disk(runner, disk)
