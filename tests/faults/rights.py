"""What files and folders are besides their contents: whom a copy, a moved one and one that takes
another's place belong to, and who may do what with it. As root, since only root has files of others
to give."""
import itertools
import os
import pathlib
import shutil
import stat
import struct
import subprocess

from ground import Broken, write
from writers import PATIENCE, start

ANN, BOB, TEAM, CLUB = 61001, 61002, 62001, 62002
PEOPLE = [(user, set(groups)) for user in (ANN, BOB, 61003)
          for groups in ((), (TEAM,), (CLUB,), (TEAM, CLUB), (ANN,), (0,))]
ACCESS, DEFAULT = "system.posix_acl_access", "system.posix_acl_default"
OWNER, USER, GROUP_OF_FILE, GROUP, MASK, OTHER = 1, 2, 4, 8, 16, 32
NOBODY_IN_PARTICULAR = 0xffffffff


def access_list(*entries):
    """Entries (kind, rights[, id]) as the system takes them."""
    return struct.pack("<I", 2) + b"".join(
        struct.pack("<HHI", kind, rights, *(who or [NOBODY_IN_PARTICULAR]))
        for kind, rights, *who in entries)


def entries_of(path):
    try:
        text = os.getxattr(path, ACCESS, follow_symlinks=False)
    except OSError:
        return []
    return [struct.unpack_from("<HHI", text, at) for at in range(4, len(text), 8)]


def rights(path, user, groups):
    """What one person may do with a file."""
    status = os.lstat(path)
    mode = stat.S_IMODE(status.st_mode)
    if user == status.st_uid:
        return mode >> 6 & 7
    entries = entries_of(path)
    if not entries:
        return (mode >> 3 if status.st_gid in groups else mode) & 7
    mask = next((entry[1] for entry in entries if entry[0] == MASK), 7)
    for kind, may, who in entries:
        if kind == USER and who == user:
            return may & mask
    mine = [may & mask for kind, may, who in entries
            if (kind == GROUP_OF_FILE and status.st_gid in groups)
            or (kind == GROUP and who in groups)]
    best = 0
    for may in mine:
        best |= may
    return best if mine else mode & 7


def table(path):
    return [rights(path, *person) for person in PEOPLE]


def expect_no_more(path, before, what, maker=None, group=None):
    """Nobody may do what they could not do before, but for whom it belongs to now. A copy belongs to
    the group of whoever made it, too."""
    for (user, groups), old, new in zip(PEOPLE, before, table(path)):
        if new & ~old and user != maker and group not in groups:
            raise Broken(f"{what}: {user} of {groups} may {new:o} instead of {old:o} at {path}")


def look(path):
    status = os.lstat(path)
    return {"owner": (status.st_uid, status.st_gid), "mode": oct(stat.S_IMODE(status.st_mode)),
            "changed": status.st_mtime_ns,
            "attributes": {name: os.getxattr(path, name) for name in os.listxattr(path)
                           if not name.startswith("security.")}}


def expect_look(path, wanted, what):
    if (found := look(path)) != wanted:
        raise Broken(f"{what}: {path} is {found} instead of {wanted}")


def run(runner, folder, text, wanted, user=None, groups=()):
    more = {}
    if user is not None:
        more = {"user": user, "group": user, "extra_groups": list(groups)}
    program = start(Program(runner) if user is not None else runner, folder, text, **more)
    said, errors = program.communicate(timeout=PATIENCE)
    if program.returncode != 0 or said.split() != wanted.split() or errors:
        raise Broken(f"{text!r} said {said!r}, {errors!r} instead of {wanted!r} (left in {folder})")


class Program:
    """The program at a place that every user can enter."""

    def __init__(self, runner):
        self.tavhost = runner.for_anybody()


# The group of the file itself has nothing, yet the mode's bits of the group are those of the mask.
FOR_BOB = access_list((OWNER, 7), (USER, 7, BOB), (GROUP_OF_FILE, 0), (MASK, 7), (OTHER, 0))
NOT_FOR_BOB = access_list((OWNER, 6), (USER, 0, BOB), (GROUP_OF_FILE, 4), (MASK, 4), (OTHER, 4))


def make(path, owner, mode, attributes=(), is_folder=False):
    if is_folder:
        path.mkdir(parents=True, exist_ok=True)
    else:
        write(path, "text")
    os.chown(path, *owner)
    path.chmod(mode)
    for name, value in dict(attributes).items():
        os.setxattr(path, name, value)


def make_tree(folder):
    note = {"user.note": b"mine"}
    make(folder / "src/listed/file", (ANN, TEAM), 0o640, {**note, ACCESS: NOT_FOR_BOB})
    make(folder / "src/listed", (ANN, TEAM), 0o2750, {**note, ACCESS: FOR_BOB, DEFAULT: FOR_BOB},
         True)
    make(folder / "src/team/file", (BOB, CLUB), 0o604, note)
    make(folder / "src/team/empty", (BOB, TEAM), 0o3775, note, True)
    make(folder / "src/team", (BOB, CLUB), 0o750, note, True)
    make(folder / "src", (ANN, TEAM), 0o2711, note, True)
    for path in [*(folder / "src").rglob("*"), folder / "src"]:
        os.utime(path, ns=(10 ** 18, 10 ** 18 + 7))


def names(folder, only_listed=False):
    if only_listed:
        return [pathlib.Path("src/listed"), pathlib.Path("src/listed/file")]
    return [path.relative_to(folder) for path in [folder / "src", *(folder / "src").rglob("*")]]


def target_folder(runner, folder, is_far):
    """Hands its own access list to whatever is made in it."""
    place = pathlib.Path(runner.far) / folder.name if is_far else folder
    make(place / "to", (0, 0), 0o755, {DEFAULT: FOR_BOB}, True)
    return place


def moved(runner, folder, is_far):
    """All that it was, wherever it goes, and nothing that the new place would hand to it."""
    make_tree(folder)
    before = {name: look(folder / name) for name in names(folder)}
    place = target_folder(runner, folder, is_far)
    run(runner, folder, f'MOVE_FILES "src" to:"{place}/to"\nprint ecode\n', "0")
    for name, wanted in before.items():
        expect_look(place / "to" / name, wanted, "moved")
    if (folder / "src").exists():
        raise Broken("the source is still there")


def moved_capabilities(runner, folder, is_far):
    """A moved program may do what it might do before; a copy, and one with other contents, not."""
    name = "security.capability"
    may = struct.pack("<IIIII", 0x02000001, 1 << 10, 0, 0, 0)  # effective; to bind low ports
    place = pathlib.Path(runner.far) / folder.name if is_far else folder
    make(place / "to", (0, 0), 0o755, is_folder=True)
    for program in ("moved", "copied", "replaced", "written"):
        make(folder / program, (ANN, TEAM), 0o755, {name: may})
    write(folder / "other", "new")
    run(runner, folder, f"""
        MOVE_FILES "moved" to:"{place}/to"
        print ecode
        COPY_FILES "copied" to:"{place}/to"
        print ecode
        FCOPY from:"other" to:"replaced"
        print ecode
        FWRITE file:"written" text:"new"
        print ecode
    """, "0 0 1 0")
    for path, wanted in ((place / "to/moved", may), (place / "to/copied", None),
                         (folder / "replaced", None), (folder / "written", None)):
        found = os.getxattr(path, name) if name in os.listxattr(path) else None
        if found != wanted:
            raise Broken(f"{path}: {found} instead of {wanted}")


def moved_without_number(runner, folder, is_far):
    """The owner of a link or file may have no number among the users whom the program sees: it moves
    all the same, and is whoever moves it's then."""
    place = pathlib.Path(runner.far) / folder.name if is_far else folder
    make(place / "to", (0, 0), 0o755, is_folder=True)
    make(folder / "file", (ANN, TEAM), 0o644)
    os.symlink("file", folder / "link")
    os.lchown(folder / "link", ANN, TEAM)
    write(folder / "script.tav", f'MOVE_FILES "link" to:"{place}/to"\nprint ecode\n'
                                 f'MOVE_FILES "file" to:"{place}/to"\nprint ecode\n')
    done = subprocess.run(["unshare", "--user", "--map-root-user", runner.tavhost, "run",
                           "script.tav"], cwd=folder, text=True, stdout=subprocess.PIPE,
                          timeout=PATIENCE)
    if done.stdout != "0\n0\n":
        raise Broken(f"said {done.stdout!r}")
    if os.readlink(place / "to/link") != "file" or os.path.lexists(folder / "link"):
        raise Broken("the link has not moved")
    if is_far:
        for name, mode in (("link", 0o777), ("file", 0o644)):
            expect_owner(place / "to" / name, (0, 0), mode)


def moved_by_a_user(runner, folder, is_far):
    """What this user may not give is given to nobody: owner and group become theirs, and the group
    and all others may do what both might do before."""
    place = pathlib.Path(runner.far) / folder.name if is_far else folder
    make(place / "to", (ANN, ANN), 0o755, (), True)
    for name, owner, mode, wanted, new_owner in (
            ("readable", (0, 0), 0o755, 0o755, (ANN, ANN)),
            ("mine", (ANN, TEAM), 0o2770, 0o2770, (ANN, TEAM)),
            ("of-the-team", (0, TEAM), 0o2775, 0o2775, (ANN, TEAM)),
            ("of-the-club", (0, CLUB), 0o2705, 0o700, (ANN, ANN)),
            ("partly", (BOB, CLUB), 0o2775, 0o755, (ANN, ANN))):
        make(folder / "src" / name, owner, mode, (), True)
        make(folder / "src" / ("f-" + name), owner, mode, ())
    make(folder / "src/f-listed", (BOB, CLUB), 0o644, {ACCESS: NOT_FOR_BOB})
    make(folder / "src", (ANN, ANN), 0o755, (), True)
    before = {name: table(folder / "src" / name) for name in os.listdir(folder / "src")}
    looks = {name: look(folder / "src" / name) for name in before}
    run(runner, folder, f'MOVE_FILES "src/*" to:"{place}/to"\nprint ecode\n', "0", ANN, [TEAM])
    for name, wanted in before.items():
        expect_no_more(place / "to" / name, wanted, "moved", ANN)
    for name, wanted, owner in (
            ("readable", 0o755, (ANN, ANN)), ("mine", 0o2770, (ANN, TEAM)),
            ("of-the-team", 0o2775, (ANN, TEAM)), ("of-the-club", 0o700, (ANN, ANN)),
            ("partly", 0o755, (ANN, ANN))):
        expect_owner(place / "to" / name, owner, wanted)
        if is_far:  # no set-id bits for a file that got another owner
            wanted = wanted if name == "mine" else wanted & 0o777
            expect_owner(place / "to" / ("f-" + name), owner, wanted)
        else:
            expect_look(place / "to" / ("f-" + name), looks["f-" + name], "renamed")


def expect_owner(path, owner, mode):
    status = os.lstat(path)
    found = ((status.st_uid, status.st_gid), oct(stat.S_IMODE(status.st_mode)))
    if found != (owner, oct(mode)):
        raise Broken(f"{path}: {found} instead of {owner, oct(mode)}")


def killed(runner, folder, is_far, command):
    """At no moment may anybody do with what is there what they may not do with the original."""
    is_copy = "COPY" in command
    group = 0 if is_copy else None
    text = f'FILE_EXISTS file:"FAULT-BEGIN"\n{command}\nFILE_EXISTS file:"FAULT-END"\n'
    for at in itertools.count(1):
        shutil.rmtree(folder)
        folder.mkdir()
        make_tree(folder)
        before = {name: table(folder / name) for name in names(folder, is_copy)}
        place = pathlib.Path(runner.far) / folder.name if is_far else folder
        shutil.rmtree(place / "to", ignore_errors=True)
        (place / "to").mkdir(parents=True)
        environment = dict(os.environ, LD_PRELOAD=str(runner.library), FAULT_DO="kill",
                           FAULT_AT=str(at))
        program = start(runner, folder, text.replace("{to}", str(place / "to")), env=environment)
        program.communicate(timeout=PATIENCE)
        for name, wanted in before.items():
            if os.path.lexists(place / "to" / name):
                expect_no_more(place / "to" / name, wanted, f"{command}, killed at {at}", 0,
                               group)
        for stray in (place / "to").rglob(".tavhost-*.tmp"):
            kin = [name for name in before if name.parent.name == stray.parent.name
                   and not (folder / name).is_dir()]
            for name in kin:
                expect_no_more(stray, before[name], f"{command}, killed at {at}", 0, group)
        if program.returncode != -9:
            return


def copied(runner, folder, is_far):
    """A copy has no access list, and is open to nobody whom the original's keeps out."""
    make_tree(folder)
    before = {name: table(folder / name) for name in names(folder, True)}
    place = pathlib.Path(runner.far) / folder.name if is_far else folder
    (place / "to").mkdir(parents=True)
    run(runner, folder, f'COPY_FILES "src" to:"{place}/to"\nprint ecode\n', "0")
    for name, wanted in before.items():
        expect_no_more(place / "to" / name, wanted, "copied", 0, 0)
    for name, mode in (("src/listed", 0o700), ("src/listed/file", 0o600), ("src/team", 0o750),
                       ("src/team/file", 0o604)):
        if (found := stat.S_IMODE(os.lstat(place / "to" / name).st_mode)) != mode:
            raise Broken(f"the copy of {name} has the mode {found:o} instead of {mode:o}")


def special_bits(runner, folder, is_far):
    """A copy takes none of the bits that let somebody act for another, a move all of them."""
    place = pathlib.Path(runner.far) / folder.name if is_far else folder
    bits = {"file": 0o6755, "stuck": 0o1755, "folder": 0o7775, "group": 0o2770}
    for target, above, copies in (("plain", 0o755, (0o755, 0o755, 0o1775, 0o770)),
                                  ("of-a-group", 0o2755, (0o755, 0o755, 0o3775, 0o2770))):
        for name, mode in bits.items():
            make(folder / "src" / name, (0, 0), mode, is_folder=name in ("folder", "group"))
        make(place / target, (0, 0), above, is_folder=True)
        run(runner, folder, f'COPY_FILES "src" to:"{place}/{target}"\nprint ecode\n', "0")
        for name, mode in zip(bits, copies):
            expect_owner(place / target / "src" / name, (0, 0), mode)
        shutil.rmtree(place / target / "src")
        run(runner, folder, f'MOVE_FILES "src" to:"{place}/{target}"\nprint ecode\n', "0")
        for name, mode in bits.items():
            expect_owner(place / target / "src" / name, (0, 0), mode)


def moved_in_vain(runner, folder, _):
    """From a folder of which nothing may be taken away: all stays there, and what the first move has
    made is in the way of the second."""
    make(folder, (ANN, ANN), 0o755, is_folder=True)
    make(folder / "to", (ANN, ANN), 0o755, is_folder=True)
    make(folder / "src/file", (ANN, ANN), 0o644)
    make(folder / "src", (ANN, ANN), 0o555, is_folder=True)
    run(runner, folder, 'MOVE_FILES "src" to:"to"\nprint ecode\nIS_DIR_EMPTY path:"to/src"\n'
                        'print isempty\nMOVE_FILES "src" to:"to"\nprint ecode\n'
                        'DIR_REMOVE path:"to/src"\nprint ecode\nFREAD file:"src/file"\n'
                        'print text\n', "1 1 1 0 text", ANN)


def replaced(runner, folder, _):
    """A file that a copy or a text replaces keeps what it was, whoever that is."""
    for kind, command in (("copy", 'FCOPY from:"new" to:"{}"'),
                          ("copied", 'FILE_COPY from:"new" to:"{}" copy-file-attributes'),
                          ("tree", 'COPY_FILES "{}" to:"old"'),
                          ("text", 'FWRITE file:"{}" text:"new"')):
        write(folder / "new", "new")
        name = folder / ("old/tree" if kind == "tree" else kind)
        make(name, (BOB, CLUB), 0o640, {"user.note": b"mine", ACCESS: FOR_BOB})
        make(folder / "tree", (0, 0), 0o644)
        make(folder, (0, 0), 0o755, {DEFAULT: NOT_FOR_BOB}, True)
        before = look(name)
        run(runner, folder, command.format(kind) + "\n", "")
        after = look(name)
        before["changed"] = after["changed"]
        expect_look(name, before, kind)
        make(folder / "plain", (ANN, TEAM), 0o640)
        os.removexattr(folder / "plain", ACCESS)
        (folder / "plain").chmod(0o640)
        if kind in ("copy", "copied", "text"):
            run(runner, folder, command.format("plain") + "\n", "")
            expect_owner(folder / "plain", (ANN, TEAM), 0o640)
            if entries_of(folder / "plain"):
                raise Broken(f"{kind}: it got the access list of its folder")


def replaced_by_a_user(runner, folder, _):
    """Another's file in one's own folder: it becomes the copier's, open to nobody else than it was;
    a text is written into it instead."""
    make(folder, (ANN, ANN), 0o755, (), True)
    make(folder / "new", (ANN, ANN), 0o644)
    for name, owner, mode, new_owner, wanted in (
            ("a", (0, 0), 0o644, (ANN, ANN), 0o644), ("b", (0, 0), 0o600, (ANN, ANN), 0o600),
            ("c", (BOB, CLUB), 0o640, (ANN, ANN), 0o600), ("d", (0, TEAM), 0o664, (ANN, TEAM), 0o664),
            ("e", (0, 0), 0o604, (ANN, ANN), 0o600), ("f", (0, 0), 0o664, (ANN, ANN), 0o644),
            ("g", (BOB, CLUB), 0o6755, (ANN, ANN), 0o755)):
        make(folder / name, owner, mode)
        before = table(folder / name)
        run(runner, folder, f'FCOPY from:"new" to:"{name}"\nprint ecode\n', "1", ANN, [TEAM])
        expect_owner(folder / name, new_owner, wanted)
        expect_no_more(folder / name, before, "replaced", ANN)
    make(folder / "listed", (BOB, CLUB), 0o640, {ACCESS: FOR_BOB})
    before = table(folder / "listed")
    run(runner, folder, 'FCOPY from:"new" to:"listed"\nprint ecode\n', "1", ANN, [TEAM])
    expect_no_more(folder / "listed", before, "replaced", ANN)
    if rights(folder / "listed", BOB, set()) != 7:
        raise Broken("it lost the access list")
    make(folder / "text", (BOB, CLUB), 0o666)
    run(runner, folder, 'FWRITE file:"text" text:"new"\nprint ecode\n', "0", ANN, [TEAM])
    expect_owner(folder / "text", (BOB, CLUB), 0o666)


def have_lists(folder):
    """Whether the file system has access lists and attributes."""
    path = pathlib.Path(folder) / "list"
    path.touch()
    try:
        os.setxattr(path, ACCESS, FOR_BOB)
        os.setxattr(path, "user.note", b"mine")
    except OSError:
        return False
    finally:
        path.unlink()
    return True


def cases(runner):
    if os.geteuid() != 0:
        print("skipped here, where nobody is root: owners and rights")
        return
    places = [folder for folder in (runner.scratch, runner.far) if folder]
    if not all(map(have_lists, places)):
        print("skipped here, where the file systems have no access lists: owners and rights")
        return

    def in_a_folder(case, is_far, *more):
        folder = pathlib.Path(runner.folder())
        folder.chmod(0o755)
        case(runner, folder, is_far, *more)
        shutil.rmtree(folder)
        if is_far:
            shutil.rmtree(pathlib.Path(runner.far) / folder.name)

    both = [moved, moved_capabilities, moved_by_a_user, copied, special_bits]
    if subprocess.run(["unshare", "--user", "--map-root-user", "true"],
                      stderr=subprocess.DEVNULL).returncode == 0:
        both.append(moved_without_number)
    else:
        print("skipped here, where nobody gets users of their own: owners without a number")
    for case, is_far in itertools.product(both, (False, True)):
        if runner.far or not is_far:
            yield f"rights: {case.__name__}", lambda c=case, f=is_far: in_a_folder(c, f)
    for case in (replaced, replaced_by_a_user, moved_in_vain):
        yield f"rights: {case.__name__}", lambda c=case: in_a_folder(c, False)
    for command, is_far in itertools.product(('MOVE_FILES "src" to:"{to}"',
                                              'COPY_FILES "src" to:"{to}"'), (False, True)):
        if runner.far or not is_far:
            yield "rights: killed", lambda c=command, f=is_far: in_a_folder(killed, f, c)
