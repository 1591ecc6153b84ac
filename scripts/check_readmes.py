#!/usr/bin/env python3
"""Checks that each room of the sources has a README that names what stands in it.

Rooms are the folders of host/ and tavhost/, commands/, plugin/, and any folder below one that has a
README. Files are named in backticks: by their names (`path.h`), by their stem (`path` for path.h,
path.cpp and its platform parts) or in groups (`http_*`). A folder with a README is named with a
slash (`syntax/`); the files of one without are named by the README above it.
"""

import fnmatch
import re
import subprocess
import sys
from pathlib import Path, PurePosixPath

ROOT = Path(__file__).resolve().parent.parent
TOPS = {"host": True, "tavhost": True, "commands": False, "plugin": False}  # True: its folders
# Files that a build or an editor puts into any folder.
EVERYWHERE = ("README.md", "CMakeLists.txt", "forward.h")

NAME = re.compile(r"`([^`\s]+)`")


def stem_of(name):
    """The name that stands for a file and those that belong to it."""
    return re.sub(r"(_posix|_windows)?(_test)?$", "", name.partition(".")[0])


def is_named(path, names):
    """`path` lies below the README's folder; names may give the folder or leave it out."""
    name = PurePosixPath(path).name
    candidates = {path, name, stem_of(name), f"{PurePosixPath(path).parent}/{stem_of(name)}"}
    return any(fnmatch.filter(candidates, wanted) for wanted in names)


def rooms_of(files):
    """Folder -> whether it has a README, for each that has one or must have one."""
    rooms = {}
    for file in files:
        parts = PurePosixPath(file).parts
        if parts[-1] == "README.md":
            rooms[str(PurePosixPath(file).parent)] = True
        if not TOPS[parts[0]]:
            rooms.setdefault(parts[0], False)
        elif len(parts) > 2:
            rooms.setdefault("/".join(parts[:2]), False)
    return rooms


def problems_of(files, text_of):
    """What is missing, as lines. `files` are the paths of all files, `text_of` reads one."""
    problems = []
    rooms = rooms_of(files)
    for room, has_readme in sorted(rooms.items()):
        if not has_readme:
            problems.append(f"{room}/: has no README.md")
            continue
        named = set(NAME.findall(text_of(f"{room}/README.md")))
        names = {name for name in named if re.search(r"\w", name)}  # "*" alone says nothing
        problems += [f"{room}/README.md: names {name}, which is not there"
                     for name in sorted(named)
                     if re.fullmatch(r"[\w/]+\.(h|cpp|inc)", name)
                     and not name.startswith("tests/")  # the files of tests are not among them
                     and not any(f"/{file}".endswith(f"/{name}") for file in files)]
        missing = set()
        for file in files:
            if not file.startswith(room + "/"):
                continue
            inner = file[len(room) + 1:]
            below = next((folder for folder in reversed(PurePosixPath(file).parents[:-1])
                          if str(folder) in rooms and str(folder).startswith(room + "/")), None)
            if below:
                folder = str(below)[len(room) + 1:] + "/"
                if folder not in names and f"{below.name}/" not in names:
                    missing.add(folder)
            elif PurePosixPath(file).name not in EVERYWHERE and not is_named(inner, names):
                missing.add(inner)
        problems += [f"{room}/README.md: does not name {name}" for name in sorted(missing)]
    return problems


def files_of(root):
    listed = subprocess.run(["git", "ls-files", "--cached", "--others", "--exclude-standard",
                             *TOPS], cwd=root, capture_output=True, text=True)
    if listed.returncode == 0:
        paths = listed.stdout.splitlines()
    else:  # an exported tree
        paths = [path.relative_to(root).as_posix()
                 for top in TOPS for path in (root / top).rglob("*")]
    return sorted(path for path in set(paths) if (root / path).is_file())


def main():
    files = files_of(ROOT)
    problems = problems_of(files, lambda path: (ROOT / path).read_text("utf-8"))
    for problem in problems:
        print(problem)
    print(f"{len(files)} files, {len(problems)} problems")
    return 1 if problems or not files else 0


if __name__ == "__main__":
    sys.exit(main())
