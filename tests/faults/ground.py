"""The folders of one run of a file command, and what must be true of them afterwards."""
import os
import pathlib
import shutil
import stat
import tempfile

NEW, OLD, KEEP, THEIRS = "new contents ", "old contents ", "keep ", "theirs"
SOURCES = ("a.txt", "empty", "sub/b.txt", "sub/deep/c.txt", "sub/large.bin")
LINKS = {"link": "../outside", "sub/file-link": "../../outside/a.txt", "sub/nowhere": "no\nwhere"}


class Broken(Exception):
    """Something was lost or changed that must not be."""


def write(path, text):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text)


def contents(kind, name):
    if name == "empty":
        return "" if kind == NEW else kind
    # Large is what is more than one read and one write.
    return (kind + name + "\n") * (11000 if name == "sub/large.bin" and kind != KEEP else 3)


def make_tree(folder, kind):
    for name in SOURCES:
        write(folder / name, contents(kind, name))


def make_links(folder):
    for name, text in LINKS.items():
        os.symlink(text, folder / name)


def snapshot(folder, times=True):
    """Everything in a folder: mode, contents and, unless not wanted, the time of change."""
    found = {}
    root = os.fsencode(folder)
    for path, folders, files in os.walk(root):
        for name in folders + files:
            entry = os.path.join(path, name)
            status = os.lstat(entry)
            text = ""
            if stat.S_ISREG(status.st_mode):
                with open(entry, "rb") as file:
                    text = file.read()
            elif stat.S_ISLNK(status.st_mode):
                text = os.readlink(entry)
            found[os.path.relpath(entry, root)] = (
                (status.st_mode, text, status.st_mtime_ns) if times else (status.st_mode, text))
    return found


class Ground:
    """`src` is what a command takes, `to` where it puts it, `outside` what it must not touch."""

    def __init__(self, base, far):
        self.base = base
        self.far = far and pathlib.Path(tempfile.mkdtemp(dir=far))
        self.to = (self.far or base) / "to"
        self.outside = None
        self.before = None  # what a scenario wants to remember
        self.fault = "none"
        self.path = None  # with which the fault was done
        self.success = False
        self.code = None  # what the command said; "error" when it ended as an error of the script
        self.message = ""  # of that error
        self.acts = 0
        self.calls = []  # the functions that were called
        self.acted_at = "none"  # the function before which others did something
        self.printed = ""

    def remember(self):
        self.outside = snapshot(self.base / "outside")

    def remove(self):
        shutil.rmtree(self.base)
        if self.far:
            shutil.rmtree(self.far)

    def folders(self):
        return [self.base, self.far] if self.far else [self.base]

    def _reach(self, path):
        """The path, or none when it leads through a link."""
        root = self.far if self.far and path.is_relative_to(self.far) else self.base
        parents = list(path.relative_to(root).parents)[:-1]
        return None if any((root / parent).is_symlink() for parent in parents) else path

    def look(self, path):
        """A file's contents or a link's text; none when there is none, or only through a link."""
        reached = self._reach(path)
        if reached is None:
            return None
        if reached.is_symlink():
            return "-> " + os.readlink(reached)
        return reached.read_text() if reached.is_file() else None

    def text(self, path):
        """Likewise, also when the folder in which it stood was swapped aside."""
        found = self.look(path)
        if self.fault != "swap":
            return found
        swapped = self.base / self.path
        if path == swapped or (found is None and path.is_relative_to(swapped)):
            found = self.look(self.base / "aside" / path.relative_to(swapped))
        return found

    def was_swapped(self, path):
        return self.fault == "swap" and path.is_relative_to(self.base / self.path)

    def is_victim(self, path):
        """It is the file that vanished, was replaced or appeared."""
        return self.path is not None and self.fault != "swap" and path == self.base / self.path

    def check_outside(self):
        found = snapshot(self.base / "outside")
        changed = {name for name in found.keys() | self.outside.keys()
                   if found.get(name) != self.outside.get(name)}
        if changed:
            raise Broken(f"outside changed: {sorted(changed)}")
        known = {"src", "to", "outside", "aside", "script.tav", "area", "count", "from", "target",
                 "renamed"}
        strangers = set(os.listdir(self.base)) - known
        if any(not name.startswith(".tavhost-") for name in strangers):
            raise Broken(f"there is what nobody named: {sorted(strangers)}")

    def strays(self):
        return [path for folder in self.folders() for path in folder.rglob(".tavhost-*.tmp")]

    def check_no_strays(self):
        if self.strays():
            raise Broken(f"left behind: {self.strays()}")
