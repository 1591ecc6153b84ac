"""A program that writes in every way there is, killed at each of its system calls in turn: what it
was told is stored is there, and whatever was under way is old or complete."""
import os
import shutil
import subprocess

from ground import Broken, write

# One round of all commands that write. Behind each stands what it has stored: a line of `acks`.
SCRIPT = """
func ack(what, i) { FWRITE file:"acks" text:(what + " " + i + "\\n") append }
func text(i) { return "begin " + i + " " + join(range(0, 100 * (i % 7), 1), ",") + " end " + i }
FILE_EXISTS file:"FAULT-BEGIN"
for i from 1 to ROUNDS {
    FWRITE file:"plain" text:(text(i))
    if ecode == 0 { ack("plain", i) }
    FWRITE file:"link" text:(text(i))
    if ecode == 0 { ack("linked", i) }
    FWRITE file:"db:\\\\one" text:(text(i))
    if ecode == 0 { ack("area/0/one", i) }
    FWRITE open file:"db:\\\\two"
    FWRITE text:(slice(text(i), 0, 5))
    FWRITE text:(slice(text(i), 5, len(text(i))))
    FWRITE close
    if ecode == 0 { ack("area/0/two", i) }
    FWRITE file:"db:\\\\log" text:(i + "\\n") append
    if ecode == 0 { ack("log", i) }
    FCOPY from:"plain" to:"copy"
    if ecode == 1 { ack("copy", i) }
    FILE_COPY from:"plain" to:"db:\\\\three" copy-file-attributes
    if ecode == 0 { ack("area/0/three", i) }
    COPY_FILES "plain" to:"folder"
    if ecode == 0 { ack("folder/plain", i) }
    MOVE_FILES "here\\\\*" to:"there"
    MOVE_FILES "there\\\\*" to:"here"
    FILE_RENAME from:"name" to:"other"
    FILE_RENAME from:"other" to:"name"
    FILE_RENAME from:"db:\\\\kept" to:"db:\\\\moved"
    FILE_RENAME from:"db:\\\\moved" to:"db:\\\\kept"
}
FILE_EXISTS file:"FAULT-END"
"""
KEPT = "kept " * 50


def text_of(i):
    return f"begin {i} {','.join(map(str, range(100 * (i % 7))))} end {i}"


def prepare(folder):
    for name in ("plain", "linked", "copy", "folder/plain", "area/0/one", "area/0/two",
                 "area/0/three"):
        write(folder / name, text_of(0))
    os.symlink("linked", folder / "link")
    for name in ("here/a", "here/sub/b", "name", "area/0/kept"):
        write(folder / name, KEPT)
    (folder / "there").mkdir()
    (folder / "acks").touch()
    write(folder / "script.tav", SCRIPT.replace("ROUNDS", "1000"))


def generation(folder, name):
    """Which round's text stands there, whole."""
    found = (folder / name).read_text()
    number = found.split(" ")[1] if found.startswith("begin ") else ""
    if not number.isdigit() or found != text_of(int(number)):
        raise Broken(f"{name} is half written: {found[:80]!r}")
    return int(number)


def check_kept(folder, *places):
    found = [(folder / place).read_text() for place in places if (folder / place).exists()]
    # Where a rename cannot be told not to replace, a second name comes first.
    if not found or any(text != KEPT for text in found):
        raise Broken(f"{places} hold {found}")


def check(folder):
    acks = (folder / "acks").read_text()
    lines = [line.split(" ") for line in acks.split("\n")[:-1]]
    stored = {name: int(i) for name, i in lines if name != "log"}
    for name in ("plain", "linked", "copy", "folder/plain", "area/0/one", "area/0/two",
                 "area/0/three"):
        if generation(folder, name) < stored.get(name, 0):
            raise Broken(f"{name} was stored as {stored[name]} and is older now")
    log = folder / "area/0/log"
    logged = log.read_text().split("\n")[:-1] if log.exists() else []
    wanted = [str(i) for i in range(1, len(logged) + 1)]
    if logged != wanted or len(logged) < sum(name == "log" for name, _ in lines):
        raise Broken(f"the log has {len(logged)} lines, not what was stored")
    check_kept(folder, "here/a", "there/a")
    check_kept(folder, "here/sub/b", "there/sub/b")
    check_kept(folder, "name", "other")
    check_kept(folder, "area/0/kept", "area/0/moved")
    if not os.path.islink(folder / "link"):
        raise Broken("the link became a file")


def killed_at(runner, call):
    folder = runner.folder()
    prepare(folder)
    environment = dict(os.environ, LD_PRELOAD=str(runner.library), FAULT_DO="kill",
                       FAULT_AT=str(call))
    done = subprocess.run([runner.tavhost, "--db", "area", "run", "script.tav"], cwd=folder,
                          env=environment, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                          timeout=120)
    if done.returncode != -9:
        raise Broken(f"exit code {done.returncode}: {done.stderr!r} (left in {folder})")
    try:
        check(folder)
        if call % 10 == 0:  # and what was killed can be done again
            write(folder / "script.tav", SCRIPT.replace("ROUNDS", "1"))
            runner.script_as_it_is(folder)
            if generation(folder, "plain") != 1 or generation(folder, "area/0/one") != 1:
                raise Broken("what is written after a kill is not there")
            if left := list((folder / "area/0").glob(".tavhost-*.tmp")):
                raise Broken(f"left in the area: {left}")
    except Broken as broken:
        raise Broken(f"killed at call {call}: {broken} (left in {folder})") from None
    shutil.rmtree(folder)


def cases(runner, long):
    calls = range(1, 10001) if long else range(1, 1200, 9)
    for call in calls:
        yield "a kill at any call", lambda c=call: killed_at(runner, c)
