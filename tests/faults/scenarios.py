"""What is done under faults, and what must hold whatever goes wrong."""
import errno
import os
from dataclasses import dataclass, field

from ground import (Broken, KEEP, LINKS, NEW, OLD, SOURCES, THEIRS, contents, make_links, make_tree,
                    snapshot, write)


def reached(path):
    """Where a folder swapped for a link leads: to one that holds what it held."""
    return "/".join(["outside", *path.split("/")[1:]])


@dataclass
class Scenario:
    name: str
    command: str  # {to} is the target folder
    prepare: object
    check: object
    # What others do meanwhile, each with the files or folders with which they do it.
    acts: dict = field(default_factory=dict)
    # Those that the command's own text leads through, with the call by which the walk comes to stand
    # there: the n-th `openat` behind the first call of a function, if any. A link before that is one
    # which the script's author has named.
    named: dict = field(default_factory=dict)
    far: bool = False  # the target lies on another file system
    refuse: str = ""  # what the file system cannot do
    success: str = "0"
    tail: str = ""  # printed behind the code
    again: str = ""  # works when it is done after somebody was killed
    listed: bool = True  # leftover files can be listed
    only_swaps: bool = False
    believed: str = ""  # an error that is an answer: what is said not to exist may be made
    most: int = 1000000  # calls that are tried in the long form
    is_short: bool = False  # so that every call is tried in the short form, too
    stdin: str = ""  # the file that is standard input


def trees(old=False):
    def prepare(place):
        make_tree(place.base / "src", NEW)
        make_links(place.base / "src")
        place.to.mkdir()
        if old:
            make_tree(place.to / "src", OLD)
        make_tree(place.base / "outside", KEEP)
        # What a target folder swapped for a link would lead to.
        make_tree(place.base / "outside" / "src", KEEP)
    return prepare


def check_source(place, name):
    path = place.base / "src" / name
    allowed = {contents(NEW, name)}
    if place.is_victim(path):
        allowed = {"vanish": {None}, "replace": {THEIRS}}.get(place.fault, set()) | allowed
    if place.text(path) not in allowed:
        raise Broken(f"the source {name} is not intact")


def check_copy(old=False, inside="src", keeps=False):
    """`keeps`: an existing file must not be overwritten."""
    def check(place):
        for name in SOURCES:
            check_source(place, name)
            path = place.to / inside / name
            source = place.base / "src" / name
            allowed = {contents(NEW, name)}
            if not place.success or place.was_swapped(source) or place.was_swapped(path):
                allowed |= {contents(OLD, name)} if old else {None}
            if place.is_victim(source):
                allowed |= {THEIRS, None} | ({contents(OLD, name)} if old else set())
            if place.is_victim(path):
                theirs_stay = keeps and place.acts and place.fault == "appear"
                if theirs_stay and place.success:
                    raise Broken("it succeeds although there is a file already")
                allowed = {THEIRS} if theirs_stay else allowed | {THEIRS, None}
            if place.text(path) not in allowed:
                raise Broken(f"the target {name} is neither absent, old nor complete")
        for name, text in LINKS.items():
            if place.text(place.base / "src" / name) != "-> " + text:
                raise Broken(f"the source's link {name} changed")
            found = place.text(place.to / inside / name)
            swapped = place.was_swapped(place.base / "src" / name) or place.was_swapped(
                place.to / inside / name)
            if found != "-> " + text and (found or (place.success and not swapped)):
                raise Broken(f"the link {name} was not copied as a link")
    return check


def check_move(inside="src"):
    def check(place):
        for name in [*SOURCES, *LINKS]:
            new = "-> " + LINKS[name] if name in LINKS else contents(NEW, name)
            source, target = place.base / "src" / name, place.to / inside / name
            found = [place.text(target), place.text(source)]
            gone = place.is_victim(source) and place.acts
            # Between the last look at a file and its removal nothing can stand.
            if gone and place.fault == "replace" and THEIRS not in found and (
                    place.acted_at != "unlinkat"):
                raise Broken(f"{name}, replaced meanwhile, was lost")
            if place.is_victim(target) and place.acts and found != [THEIRS, new]:
                raise Broken(f"{name} was moved over a file that appeared meanwhile")
            if new not in found and not gone and not (place.is_victim(source) and (
                    place.fault != "appear")):
                raise Broken(f"{name} is neither at its old place nor at its new one")
            if any(text not in (None, new, THEIRS) for text in found):
                raise Broken(f"{name} is half written")
            swapped = place.was_swapped(source) or place.was_swapped(target)
            if place.success and not swapped and found[1] is not None:
                raise Broken(f"{name} was not moved")
    return check


def check_delete(left=()):
    def check(place):
        for name in SOURCES:
            path = place.base / "src" / name
            allowed = {None, contents(NEW, name)} | ({THEIRS} if place.is_victim(path) else set())
            if place.text(path) not in allowed:
                raise Broken(f"{name} is damaged")
        left_now = {"src"} & set(os.listdir(place.base))
        if place.success and place.fault != "swap" and place.acts == 0 and left_now != set(left):
            raise Broken("the tree is still there, or more than it is gone")
        if left and place.success and place.fault == "none" and os.listdir(place.base / "src"):
            raise Broken("something is left in the tree")
    return check


def prepare_itself(place):
    trees()(place)
    os.link(place.base / "src/a.txt", place.base / "src/sub/hard")
    place.before = snapshot(place.base / "src")


def check_itself(place):
    """It fails before the first write: not even a folder's time of change is another."""
    if not place.success and place.fault != "kill":
        raise Broken("it did not fail")
    if snapshot(place.base / "src") != place.before:
        raise Broken("the tree changed")


def check_onto_itself(place):
    if not place.success and place.fault != "kill":
        raise Broken("it did not fail")
    now = {name: entry for name, entry in snapshot(place.base / "src", times=False).items()
           if b".tavhost-" not in name}
    if now != {name: entry[:2] for name, entry in place.before.items()}:
        raise Broken("the tree changed")


DEEP = 100  # more than the folders that are kept open
CHAIN = "/".join("d" * DEEP)


def prepare_deep(place):
    place.to.mkdir()
    for root in ("src", "outside", "outside/src"):
        path = place.base / root
        write(path / CHAIN / "z", KEEP)
        while path != place.base / root / CHAIN:
            write(path / "z", KEEP)
            path = path / "d"


def check_deep(place):
    pass  # nothing outside changes, which is asked for each


DEEP_SWAPS = ["src/" + "/".join("d" * levels) for levels in (2, 50, 90)]


def prepare_single(place):
    write(place.base / "from", contents(NEW, "sub/large.bin"))
    write(place.base / "target", OLD)
    make_tree(place.base / "outside", KEEP)


def check_single(target="target", old=OLD):
    new = contents(NEW, "sub/large.bin")

    def check(place):
        source = {new}
        if place.is_victim(place.base / "from"):
            source |= {THEIRS, None}
        if place.text(place.base / "from") not in source:
            raise Broken("the source is not intact")
        allowed = source - {None} if place.success else {old} | source - {None}
        if place.is_victim(place.base / target):
            allowed = allowed | {THEIRS}
        if place.text(place.base / target) not in allowed:
            raise Broken("the target is neither old nor complete")
    return check


def prepare_area(place):
    prepare_single(place)
    write(place.base / "area/0/file", OLD)
    write(place.base / "area/7/other", contents(NEW, "sub/large.bin"))


def check_written(path, old, new, is_copied=False):
    """What was said to be stored is stored; otherwise the old text is there, or the new one where
    only its last step failed, putting the name on the disk. That ends a writing command as an error;
    its codes stand for what is known before anything changes. A copy has no other words for it."""
    def check(place):
        allowed = {new} if place.success else {old, new}
        if place.code not in (None, "", "0", "error") and not is_copied:
            allowed = {old}
        if place.text(place.base / path) not in allowed:
            raise Broken(f"{path} is neither old nor complete, or the command said otherwise")
    return check


def check_in_place(path, old, new, other):
    """A file with several names keeps them. It is written in place: a fault leaves a mixture, but
    not without being told."""
    def check(place):
        if place.success and place.text(place.base / path) != new:
            raise Broken(f"{path} is not complete although the command said so")
        if not os.path.samefile(place.base / path, place.base / other):
            raise Broken("two names of one file lead to two files")
    return check


def check_closed(path, new):
    """Whatever of opening, writing and closing went wrong, one of them said so."""
    def check(place):
        said = place.printed.split()
        if place.success and said == ["0", "0"] and place.text(place.base / path) != new:
            raise Broken(f"{path} is not complete although all three commands said so")
        if not place.success and place.fault in ("none", "short"):
            raise Broken(f"it said {place.code} {said}")
    return check


def prepare_written(place):
    write(place.base / "target", OLD)
    os.chmod(place.base / "target", 0o640)
    make_tree(place.base / "outside", KEEP)


def prepare_linked(place):
    prepare_written(place)
    (place.base / "to").mkdir()
    os.symlink("../target", place.base / "to/link")


def prepare_two_names(place):
    prepare_written(place)
    os.link(place.base / "target", place.base / "renamed")


def prepare_private(place):
    prepare_single(place)
    os.chmod(place.base / "target", 0o600)


def check_private(place):
    check_single()(place)
    if (mode := os.stat(place.base / "target").st_mode & 0o777) != 0o600:
        raise Broken(f"the target was private and has the mode {mode:03o} now")


def prepare_current(place):
    place.to.mkdir()
    make_tree(place.base / "outside", KEEP)


def check_current(place):
    is_current = not place.printed or place.printed.startswith("0")
    if is_current and (not place.to.is_dir() or place.printed not in ("0 1\n", "")):
        raise Broken(f"the current directory was removed: {place.printed!r}")


def prepare_held(place):
    prepare_single(place)
    place.before = os.stat(place.base / "target").st_ino


def check_held(place):
    """A file that somebody holds is written in place, if it is written: its holder would see nothing
    of another one under its name."""
    is_held = place.printed.startswith("0") or not place.printed
    if is_held and os.stat(place.base / "target").st_ino != place.before:
        raise Broken("there is another file under the name of the one that is held")
    if place.success and place.text(place.base / "target") != NEW:
        raise Broken("it is not complete although the command said so")


def check_moved_file(place):
    found = [place.text(place.base / "from"), place.text(place.to / "from")]
    if any(text not in (None, contents(NEW, "sub/large.bin"), THEIRS) for text in found):
        raise Broken("the file is half written")
    gone = place.acts and place.acted_at == "unlinkat"
    if place.acts and place.fault == "replace" and THEIRS not in found and not gone:
        raise Broken("what replaced the file meanwhile was lost")
    if not place.acts and contents(NEW, "sub/large.bin") not in found:
        raise Broken("the file is at neither place")


def prepare_moved_file(place):
    prepare_single(place)
    place.to.mkdir()


def check_area(old, new, is_copied=False):
    """Nothing else of the area changes."""
    def check(place):
        check_single()(place) if place.text(place.base / "target") != OLD else None
        if sorted(os.listdir(place.base / "area/7")) != ["other"] or place.text(
                place.base / "area/7/other") != contents(NEW, "sub/large.bin"):
            raise Broken("the other library changed")
        check_written("area/0/file", old, new, is_copied)(place)
        names = [name for name in os.listdir(place.base / "area/0")
                 if not name.startswith(".tavhost-")]
        if names != ["file"]:
            raise Broken(f"the area holds {names}")
    return check


def check_area_rename(place):
    names = sorted(os.listdir(place.base / "area/0"))
    both = place.fault == "kill" or place.fault.startswith("errors:")
    if names not in ([["named"]] if place.success else [["file"], ["named"]] + (
            [["file", "named"]] if both else [])):
        raise Broken(f"the area holds {names}")
    if any(place.text(place.base / "area/0" / name) != OLD for name in names):
        raise Broken("the database file changed")


def prepare_rename(place):
    write(place.base / "from", NEW)
    make_tree(place.base / "outside", KEEP)


def check_rename(place):
    found = [place.text(place.base / "from"), place.text(place.base / "renamed")]
    if place.is_victim(place.base / "renamed") and place.acts:
        if found != [NEW, THEIRS]:
            raise Broken(f"renaming over a file that appeared left {found}")
        return
    # Without a rename that never replaces, a second name comes first.
    both = place.fault == "kill" or place.fault.startswith("errors:")
    allowed = [[None, NEW]] if place.success else [[NEW, None], [None, NEW]] + (
        [[NEW, NEW]] if both else [])
    if found not in allowed:
        raise Broken(f"renaming left {found}")


def check_gone(place):
    if place.text(place.base / "from") not in ({None} if place.success else {None, NEW}):
        raise Broken("the file is neither there nor gone")


def check_list(place):
    """A list is whole or there is none."""
    allowed = {"a.txt*empty | link*sub\n"}
    if place.fault.startswith("error"):
        allowed.add("a.txt*empty*link | sub\n")  # where the link leads cannot be told
    if place.fault == f"error:{errno.ENOENT}":  # it is gone, so it cannot be told what it was
        allowed |= {"a.txt*empty*sub | link\n", "a.txt*empty*link*sub | \n"}
    if place.printed not in (allowed if place.success else {"none\n"}) and place.fault != "kill":
        raise Broken(f"it printed {place.printed!r}")


def check_list_area(place):
    if place.printed != ("file\n" if place.success else "none\n") and place.fault != "kill":
        raise Broken(f"it printed {place.printed!r}")


def check_emptiness(place):
    if place.printed != ("0\n" if place.success else "none\n") and place.fault != "kill":
        raise Broken(f"it printed {place.printed!r}")


def check_text(place):
    """A text is whole or there is none."""
    length = len(contents(NEW, "sub/large.bin")) if place.success else 0
    if place.printed != f"{length}\n" and place.fault != "kill":
        raise Broken(f"it printed {place.printed!r}")


LIST = 'if has(r, "files") { print r.files, "|", r.dirs } else { print "none" }'
OPENED = "print a.ecode, b.ecode"
COPIED = {"swap": ["src", "src/sub", "src/sub/deep", "to", "to/src", "to/src/sub"],
          "vanish": ["src/sub/b.txt"], "replace": ["src/sub/b.txt", "src/sub/large.bin"],
          "appear": ["to/src/sub/b.txt", "to/src/sub/large.bin"]}
FILLED = {"swap": ["src", "src/sub", "to", "to/sub"], "appear": ["to/a.txt"]}
MOVED = {"swap": ["src", "src/sub", "to", "to/src", "to/src/sub"], "vanish": ["src/sub/b.txt"],
         "replace": ["src/sub/b.txt"], "appear": ["to/src/sub/b.txt", "to/src/sub/large.bin"]}
FAR = {"swap": ["src", "src/sub"], "vanish": ["src/sub/b.txt"],
       "replace": ["src/sub/b.txt", "src/sub/large.bin"]}
OTHERS = {"vanish": ["from"], "replace": ["from", "target"]}

COPY = 'COPY_FILES "src" to:"{to}"'
ALL = [
    Scenario("copy a tree", COPY, trees(), check_copy(), COPIED,
             again=COPY + " overwrite-existing-dir"),
    Scenario("copy over a tree", COPY + " overwrite-existing-dir", trees(True), check_copy(True),
             {"swap": ["to/src", "to/src/sub"], "replace": ["to/src/sub/b.txt"]},
             again=COPY + " overwrite-existing-dir"),
    Scenario("copy a tree and keep what is there", COPY + " no-overwrite", trees(),
             check_copy(keeps=True), {"appear": COPIED["appear"]}),
    Scenario("copy all of a tree", 'COPY_FILES "src\\\\*" to:"{to}"', trees(),
             check_copy(inside=""), FILLED, {"src": ("closedir", 1), "to": ("closedir", 2)}),
    Scenario("copy a tree where the system cannot help", COPY, trees(), check_copy(), COPIED,
             refuse="renameat2,copy_file_range,d_type"),
    Scenario("copy a tree to another file system", COPY, trees(), check_copy(), FAR, far=True,
             again=COPY + " overwrite-existing-dir"),
    Scenario("move a tree", 'MOVE_FILES "src" to:"{to}"', trees(), check_move(), MOVED),
    Scenario("move all of a tree", 'MOVE_FILES "src\\\\*" to:"{to}"', trees(), check_move(""),
             FILLED, {"src": ("closedir", 1), "to": ("closedir", 2)}),
    Scenario("move a tree where the system cannot help", 'MOVE_FILES "src" to:"{to}"', trees(),
             check_move(), MOVED, refuse="renameat2,copy_file_range,d_type"),
    Scenario("move a tree to another file system", 'MOVE_FILES "src" to:"{to}"', trees(),
             check_move(), FAR, far=True),
    Scenario("move a file to another file system", 'MOVE_FILES "from" to:"{to}"',
             prepare_moved_file, check_moved_file, {"replace": ["from"]}, far=True,
             is_short=True),
    Scenario("copy a tree into itself",
             'COPY_FILES "src" to:"src\\\\sub\\\\deep" overwrite-existing-dir', prepare_itself,
             check_itself, success="1"),
    Scenario("copy all of a tree into itself",
             'COPY_FILES "src\\\\*" to:"src\\\\sub" overwrite-existing-dir', prepare_itself,
             check_itself, success="1"),
    Scenario("move all of a tree into itself", 'MOVE_FILES "src\\\\*" to:"src/sub/deep"',
             prepare_itself, check_itself, success="1"),
    Scenario("move a tree into itself", 'MOVE_FILES "src" to:"src"', prepare_itself, check_itself,
             success="1"),
    Scenario("copy a tree onto itself", 'COPY_FILES "src" to:"." overwrite-existing-dir',
             prepare_itself, check_onto_itself, success="1",
             believed="ENOENT"),
    Scenario("copy a file onto its hard link", 'FILE_COPY from:"src/a.txt" to:"src\\\\sub/hard"',
             prepare_itself, check_onto_itself, success="1",
             believed="ENOENT"),
    Scenario("copy a large file onto itself",
             'FILE_COPY from:"src/sub/large.bin" to:"src\\\\sub/../sub/large.bin"',
             prepare_itself, check_onto_itself, success="1",
             believed="ENOENT"),
    Scenario("delete a tree", 'DELETE_FILES "src"', trees(), check_delete(),
             {"swap": ["src", "src/sub", "src/sub/deep"], "vanish": ["src/sub/b.txt"],
              "replace": ["src/sub/b.txt"], "appear": ["src/sub/new"]}),
    Scenario("delete all of a tree", 'DELETE_FILES "src\\\\*"', trees(), check_delete({"src"}),
             {"swap": ["src", "src/sub", "src/sub/deep"]}, {"src": ("", 1)}),
    Scenario("delete a tree without types", 'DELETE_FILES "src"', trees(), check_delete(),
             {"swap": ["src/sub"]}, refuse="d_type"),
    Scenario("delete a deep tree", 'DELETE_FILES "src"', prepare_deep, check_deep,
             {"swap": DEEP_SWAPS}, only_swaps=True, most=150),
    Scenario("move a deep tree", 'MOVE_FILES "src" to:"{to}"', prepare_deep, check_deep,
             {"swap": [*DEEP_SWAPS, "to", "to/" + DEEP_SWAPS[1]]}, only_swaps=True,
             most=150),
    Scenario("copy a file", 'FILE_COPY from:"from" to:"target" copy-file-attributes',
             prepare_single, check_single(), OTHERS,
             again='FILE_COPY from:"from" to:"target"', listed=False),
    Scenario("copy a file to a new one", 'FCOPY from:"from" to:"renamed"', prepare_single,
             check_single("renamed", None), success="1"),
    Scenario("copy over a private file", 'FCOPY from:"from" to:"target"', prepare_private,
             check_private, success="1", believed="ENOENT", is_short=True),
    Scenario("remove the current directory",
             'SET_CWD path:"{to}" -> b\nDIR_REMOVE path:"{to}" -> a\nSET_CWD path:"{to}/.."',
             prepare_current, check_current, tail="print b.ecode, a.ecode", believed="ENOENT",
             is_short=True),
    Scenario("write a file that was left open", 'FWRITE open file:"target" -> a\n'
             'FWRITE open file:"renamed"\nFWRITE close\n'
             f'FWRITE file:"target" text:"{NEW}"', prepare_held, check_held,
             tail="print a.ecode", believed="ENOENT", is_short=True),
    Scenario("write the file that is standard input", f'FWRITE file:"target" text:"{NEW}"',
             prepare_held, check_held, tail="print 0", stdin="target", believed="ENOENT",
             is_short=True),
    Scenario("rename a file", 'FILE_RENAME from:"from" to:"renamed"', prepare_rename,
             check_rename, {"appear": ["renamed"]}),
    Scenario("rename a file where the system cannot help", 'FILE_RENAME from:"from" to:"renamed"',
             prepare_rename, check_rename, {"appear": ["renamed"]}, refuse="renameat2"),
    Scenario("delete a file", 'FILE_DELETE file:"from"', prepare_rename, check_gone),
    Scenario("list a folder", 'DIR_LIST path:"src"', trees(), check_list, tail=LIST),
    Scenario("list a folder without types", 'DIR_LIST path:"src"', trees(), check_list, tail=LIST,
             refuse="d_type"),
    Scenario("ask whether a folder is empty", 'IS_DIR_EMPTY path:"src"', trees(), check_emptiness,
             tail='if has(r, "isempty") { print r.isempty } else { print "none" }'),
    Scenario("read a file", 'FREAD file:"from"', prepare_single, check_text,
             tail="print len(r.text)"),
    Scenario("write a file", f'FWRITE file:"target" text:"{NEW}"', prepare_written,
             check_written("target", OLD, NEW), again=f'FWRITE file:"target" text:"{NEW}"',
             listed=False, believed="ENOENT"),
    Scenario("write a new file", f'FWRITE file:"renamed" text:"{NEW}"', prepare_written,
             check_written("renamed", None, NEW), believed="ENOENT"),
    Scenario("write a file through a link", f'FWRITE file:"to/link" text:"{NEW}"', prepare_linked,
             check_written("target", OLD, NEW), believed="ENOENT"),
    Scenario("write a file of two names", f'FWRITE file:"target" text:"{NEW}"', prepare_two_names,
             check_in_place("target", OLD, NEW, "renamed"), believed="ENOENT"),
    Scenario("keep a file open", 'FWRITE open file:"target" -> a\n'
             f'FWRITE text:"{NEW}" -> b\nFWRITE close', prepare_written,
             check_closed("target", NEW), tail=OPENED, believed="ENOENT"),
    Scenario("keep a database file open", 'FWRITE open file:"db:\\\\file" -> a\n'
             f'FWRITE text:"{NEW}" -> b\nFWRITE close', prepare_area,
             check_closed("area/0/file", NEW), tail=OPENED, believed="ENOENT"),
    Scenario("write a database file", f'FWRITE file:"db:\\\\FILE" text:"{NEW}"', prepare_area,
             check_area(OLD, NEW), again=f'FWRITE file:"db:\\\\FILE" text:"{NEW}"', listed=False,
             believed="ENOENT"),
    Scenario("append to a database file", f'FWRITE file:"db:\\\\file" text:"{NEW}" append',
             prepare_area, check_area(OLD, OLD + NEW),
             believed="ENOENT"),
    Scenario("append to a database file without types",
             f'FWRITE file:"db:\\\\File" text:"{NEW}" append', prepare_area,
             check_area(OLD, OLD + NEW), refuse="d_type",
             believed="ENOENT"),
    Scenario("copy into the database area", 'FILE_COPY from:"from" to:"db:\\\\file"', prepare_area,
             check_area(OLD, contents(NEW, "sub/large.bin"), is_copied=True),
             believed="ENOENT"),
    Scenario("copy between libraries",
             'FILE_COPY from:"db:\\\\other" to:"db:\\\\file" from-libraryid:7 to-libraryid:0',
             prepare_area,
             check_area(OLD, contents(NEW, "sub/large.bin"), is_copied=True),
             believed="ENOENT"),
    Scenario("rename a database file", 'FILE_RENAME from:"db:\\\\file" to:"db:\\\\named"',
             prepare_area, check_area_rename,
             believed="ENOENT"),
    Scenario("list the database area", "DB_FILE_LIST", prepare_area, check_list_area,
             tail='if has(r, "files") { print r.files } else { print "none" }',
             believed="ENOENT"),
]
