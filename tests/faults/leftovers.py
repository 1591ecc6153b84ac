"""What a killed program leaves in the database file area goes with the next one that looks there;
what a living one writes stays, in whatever container that runs."""
import os
import pathlib
import shutil
import signal
import subprocess
import time

from ground import Broken, write
from writers import OPEN, PATIENCE, expect_text, finish, start, start_slowly, wait

LOOKS = ("DB_FILE_LIST\nprint files", 'FREAD file:"db:\\\\k"\nprint text',
         'FWRITE file:"db:\\\\other" text:"x"', 'FCOPY from:"text" to:"db:\\\\k"',
         'FILE_EXISTS file:"db:\\\\none"', 'FDELETE file:"db:\\\\none"')


def strays(folder):
    return sorted(path.name for path in (folder / "area/0").glob(".tavhost-*-*.tmp"))


def expect_strays(folder, wanted, what):
    if (found := strays(folder)) != wanted:
        raise Broken(f"{what}: {found} instead of {wanted} (left in {folder})")


def look(runner, folder, text="DB_FILE_LIST"):
    """Another program looks at the area."""
    program = start(runner, folder, text, "look.tav")
    said, errors = program.communicate(timeout=PATIENCE)
    if program.returncode != 0 or errors:
        raise Broken(f"{text}: exit code {program.returncode}: {errors!r}")
    return said


def kill_in(runner, folder, command):
    """A program that is killed at the first call of the command at which it leaves something."""
    write(folder / "script.tav", f'FILE_EXISTS file:"FAULT-BEGIN"\n{command}\n')
    for call in range(1, 100):
        environment = dict(os.environ, LD_PRELOAD=str(runner.library), FAULT_DO="kill",
                           FAULT_AT=str(call))
        done = subprocess.run([runner.tavhost, "--db", "area", "run", "script.tav"], cwd=folder,
                              env=environment, stdout=subprocess.DEVNULL, timeout=PATIENCE)
        if done.returncode != -9:
            break
        if strays(folder):
            return strays(folder)
    raise Broken(f"{command}: no kill leaves anything (left in {folder})")


def prepare(runner):
    folder = runner.folder()
    write(folder / "area/0/k", "old")
    write(folder / "text", "new " * 1000)
    os.chmod(folder / "text", 0o444)
    return folder


def removed(runner, command, how):
    """Whoever looks next removes it, and nothing else."""
    folder = prepare(runner)
    left = kill_in(runner, folder, command)
    alike = [".tavhost-1-.tmp", ".tavhost--1.tmp", ".tavhost-x-1.tmp", ".tavhost-1-1x.tmp",
             ".tavhost-99999999999-1.tmp"]
    for name in alike:
        write(folder / "area/0" / name, "")
    (folder / "area/0/.tavhost-4194000-1.tmp").mkdir()
    os.symlink("../../text", folder / "area/0/.tavhost-4194000-2.tmp")
    kept = sorted([*alike, ".tavhost-4194000-1.tmp", ".tavhost-4194000-2.tmp"])
    subprocess.run([runner.tavhost, "--db", "area", "run", "--dry-run", "-e", how], cwd=folder,
                   stdout=subprocess.DEVNULL, check=True, timeout=PATIENCE)
    expect_strays(folder, sorted([*kept, *left]), "a dry run")
    expect_text(folder / "area/0/k", "old")
    look(runner, folder, how)
    expect_strays(folder, kept, how)
    shutil.rmtree(folder)


HOLD = OPEN + """
    DIR_CREATE path:"open"
    exist = 0
    while exist == 0 { DIR_EXIST path:"close"; SLEEP ms:5 }
    FWRITE close
    print ecode
"""


def kept_while_open(runner, elsewhere):
    """What a program has open stays, also under a number that the one who looks has itself, as it
    can be in another container; when it is killed, it goes."""
    folder = prepare(runner)
    left = kill_in(runner, folder, 'FWRITE file:"db:\\\\k" text:"new"')
    write(folder / "hold.tav", HOLD)
    command = [*elsewhere, runner.tavhost, "--db", "area", "run", "hold.tav"]

    def hold():
        holder = subprocess.Popen(command, cwd=folder, stdout=subprocess.PIPE, text=True,
                                  stderr=subprocess.PIPE, start_new_session=True)
        wait((folder / "open").is_dir, "the file is open")
        return holder

    holder = hold()
    mine = strays(folder)
    if len(mine) != 1 or mine == left:
        raise Broken(f"it has {mine} under way, {left} was left (in {folder})")
    look(runner, folder)
    write(folder / "look.tav", "DB_FILE_LIST\nprint ecode")
    subprocess.run([*elsewhere, runner.tavhost, "--db", "area", "run", "look.tav"], cwd=folder,
                   check=True, stdout=subprocess.DEVNULL, timeout=PATIENCE)
    expect_strays(folder, mine, "while it is open")
    (folder / "close").mkdir()
    finish(holder, "0")
    expect_text(folder / "area/0/k", "whole")
    expect_strays(folder, [], "after it was closed")
    for name in ("open", "close"):
        (folder / name).rmdir()
    holder = hold()
    os.killpg(holder.pid, signal.SIGKILL)
    holder.communicate(timeout=PATIENCE)
    if len(strays(folder)) != 1:
        raise Broken(f"killed while a file was open, it has left {strays(folder)}")
    wait(lambda: look(runner, folder) is not None and not strays(folder), "it is removed")
    expect_text(folder / "area/0/k", "whole")
    shutil.rmtree(folder)


def kept_while_copied(runner):
    """So does what a program is copying, however slowly."""
    folder = prepare(runner)
    copier = start_slowly(runner, folder, 'FCOPY from:"text" to:"db:\\\\k"')
    wait(lambda: strays(folder), "the copy is under way")
    os.kill(copier.pid, signal.SIGSTOP)
    left = strays(folder)
    look(runner, folder)
    expect_strays(folder, left, "while it is copied")
    os.kill(copier.pid, signal.SIGCONT)
    finish(copier, "1")
    expect_text(folder / "area/0/k", "new " * 1000)
    shutil.rmtree(folder)


def kept_for_the_living(runner):
    """Without a lock as well, what may be a living program's stays."""
    folder = prepare(runner)
    living = subprocess.Popen(["sleep", "600"])
    name = f".tavhost-{living.pid}-1.tmp"
    (folder / "area/0" / name).touch()
    look(runner, folder)
    expect_strays(folder, [name], "a living process")
    living.kill()
    living.wait()
    look(runner, folder)
    expect_strays(folder, [], "a process that is gone")
    shutil.rmtree(folder)


def without_locks(runner):
    """Where a file system has no locks the area is written all the same; but what a program leaves
    stays, since another one may still be at it."""
    folder = prepare(runner)
    left = kill_in(runner, folder, 'FWRITE file:"db:\\\\k" text:"new"')
    environment = dict(os.environ, LD_PRELOAD=str(runner.library), FAULT_REFUSE="locks")
    finish(start(runner, folder, 'FWRITE file:"db:\\\\k" text:"new"\nprint ecode\n',
                 env=environment), "0")
    expect_text(folder / "area/0/k", "new")
    expect_strays(folder, left, "without locks")
    look(runner, folder)
    expect_strays(folder, [], "with locks")
    shutil.rmtree(folder)


def number_of_another(runner, container, number):
    """A living process that has only the number of the one that is gone keeps nothing."""
    folder = prepare(runner)
    (folder / f"area/0/.tavhost-{number}-1.tmp").touch()
    time.sleep(2.5)  # time itself is tested: the other one begins later than the file
    write(folder / "look.tav", "DB_FILE_LIST\n")
    shell = 'test $$ = "$1" && "$2" --db area run look.tav; exit $?'
    subprocess.run([*container, "sh", "-c", shell, "sh", str(number), runner.tavhost], cwd=folder,
                   check=True, timeout=PATIENCE)
    expect_strays(folder, [], "a number that another process has by now")
    shutil.rmtree(folder)


def very_many(runner, count):
    """Ever so many are no hindrance: each look takes some away."""
    folder = prepare(runner)
    for number in range(count):
        (folder / f"area/0/.tavhost-4194000-{number}.tmp").touch()
    looks = 0
    while strays(folder):
        look(runner, folder)
        looks += 1
        if looks > 500:
            raise Broken(f"{len(strays(folder))} are left after {looks} looks (in {folder})")
    if looks < 2:
        raise Broken(f"{count} were removed at once")
    shutil.rmtree(folder)


def other_container():
    """A command in front of others that runs them under a number that no process here has, and the
    number; none where that cannot be."""
    highest = int(pathlib.Path("/proc/sys/kernel/pid_max").read_text())
    free = next(n for n in range(highest - 100, 300, -1) if not os.path.exists(f"/proc/{n}"))
    command = ["unshare", "--pid", "--fork", "--kill-child", "--mount-proc", "sh", "-c",
               f'echo {free - 1} > /proc/sys/kernel/ns_last_pid || exit 9; "$@"; exit $?', "sh"]
    tried = subprocess.run([*command, "sh", "-c", "echo $$"], stdout=subprocess.PIPE,
                           stderr=subprocess.DEVNULL, text=True)
    return (command, free) if tried.stdout == f"{free}\n" else None


def cases(runner, long):
    for how in LOOKS:
        yield "what a killed FWRITE left", lambda h=how: removed(
            runner, 'FWRITE file:"db:\\\\k" text:"new"', h)
    yield "what a killed FWRITE open left", lambda: removed(
        runner, OPEN + "FWRITE close", LOOKS[0])
    yield "what a killed FILE_COPY left", lambda: removed(
        runner, 'FILE_COPY from:"text" to:"db:\\\\k" copy-file-attributes', LOOKS[0])
    yield "what is open is left", lambda: kept_while_open(runner, [])
    yield "what is left without locks", lambda: without_locks(runner)
    yield "what a living program left is left", lambda: kept_for_the_living(runner)
    if found := shutil.which("unshare") and other_container():
        container, number = found
        yield "what is open in another container is left", (
            lambda: kept_while_open(runner, container))
        yield "what another program of that number left", (
            lambda: number_of_another(runner, container, number))
    else:
        print("skipped here, where processes cannot have numbers of their own: other containers")
    yield "what is copied is left", lambda: kept_while_copied(runner)
    yield "very many leftovers", lambda: very_many(runner, 20000 if long else 3000)
