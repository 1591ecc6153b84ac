"""--dry-run: the plan is what the commands then do, on random trees, and nothing is done."""

import os
import random
import re
import shutil
import unittest
from pathlib import Path

from program import ProgramTest

CASES = int(os.environ.get("TAVHOST_DRY_RUN_CASES", "40"))
STEP = re.compile(r"would (delete the directory|create the directory|delete|move|"
                  r"copy, replacing what is there,|copy) (.*)")
NAMES = ["a", "b", "c.txt", "d.txt", "E.txt", "f.tmp", "_g.txt"]


def snapshot(top):
    """Every entry below a folder: what it is, and what it holds."""
    found = {}
    for folder, folders, files in os.walk(top):
        for name in folders + files:
            path = Path(folder, name)
            key = path.relative_to(top).as_posix()
            if path.is_symlink():
                found[key] = ("link", os.readlink(path))
            elif path.is_dir():
                found[key] = ("directory",)
            else:
                found[key] = ("file", path.read_bytes(), bool(path.stat().st_mode & 0o222))
    return found


def make_tree(rng, folder, depth=0):
    for name in rng.sample(NAMES, rng.randint(0, len(NAMES))):
        path = folder / name
        kind = rng.random()
        if kind < 0.35 and depth < 3:
            path.mkdir()
            make_tree(rng, path, depth + 1)
        elif kind < 0.5 and name in "d.txt E.txt f.tmp":  # the scripts' paths lead through no link
            path.symlink_to(rng.choice(["nowhere", "a", "."]))
        else:
            path.write_text(f"{name} {rng.random()}")
            if rng.random() < 0.06:
                path.chmod(0o444)


def make_script(rng):
    lines = []
    for _ in range(rng.randint(1, 4)):
        source = rng.choice(["from\\\\*", "from\\\\*.txt", "from/a", "from/*.*", "from/b/*", "to/*",
                             "from/?.t*", "from\\\\a\\\\*.tmp", "*", "from", "to/a/*.*", "to/.*",
                             "from/a/../*", "from/.", "from/a/..", "to/b/??", "."])
        target = rng.choice(["to", "to\\\\a", "to/b", "from/a", "to/c.txt", "new", ".", "to/../from",
                             "to/a/.."])
        flags = "".join(rng.choice(["", " " + flag])
                        for flag in ("no-overwrite", "overwrite-existing-dir"))
        lines.append(rng.choice([f'COPY_FILES "{source}" to:"{target}"{flags}',
                                 f'COPY_FILES "{source}" to:"{target}"{flags}',
                                 f'MOVE_FILES "{source}" to:"{target}"',
                                 f'DELETE_FILES "{source}"']) + "\nprint ecode")
    return "\n".join(lines) + "\n"


def carry_out(plan, top):
    """Does what the plan says; the codes that the commands returned."""
    codes = []
    for line in plan.splitlines():
        if line in ("0", "1"):
            codes.append(line)
            continue
        if line.startswith("would fail at "):
            continue
        what, rest = STEP.fullmatch(line).groups()
        source, _, target = rest.partition(" to ")
        assert source.startswith(str(top)), line
        if what == "delete":
            os.unlink(source)
        elif what == "delete the directory":
            os.rmdir(source)
        elif what == "create the directory":
            os.mkdir(source)
        elif what == "move":
            os.rename(source, target)
        else:
            if os.path.lexists(target):
                os.unlink(target)
            shutil.copy2(source, target, follow_symlinks=False)
    return codes


class DryRunTest(ProgramTest):
    def compare(self, name, top, script):
        """Runs a script in `top` both ways; the number of steps that the plan has."""
        script = self.file(f"{name}.tav", script)
        before = snapshot(top)
        planned = self.run_program("run", "--dry-run", f"../{script}", cwd=top)
        self.assertEqual((planned.err, planned.code), ("", 0))
        self.assertEqual(snapshot(top), before, "a dry run does nothing")
        # The real thing runs under the same paths, the plan is then carried out there too.
        shutil.copytree(top, str(top) + ".kept", symlinks=True)
        real = self.run_program("run", f"../{script}", cwd=top)
        effect = snapshot(top)
        shutil.rmtree(top)
        os.rename(str(top) + ".kept", top)
        text = Path(self.folder, script).read_text() + planned.out
        codes = carry_out(planned.out, top)
        self.assertEqual(codes, real.out.split(), text)
        self.assertEqual(snapshot(top), effect, text)
        return len(planned.out.splitlines()) - len(codes)

    def test_plan_equals_effect(self):
        steps = 0
        for seed in range(CASES):
            with self.subTest(seed=seed):
                rng = random.Random(seed)
                top = self.folder / f"tree{seed}"
                for name in ("from", "to"):
                    (top / name).mkdir(parents=True)
                    make_tree(rng, top / name)
                steps += self.compare(f"s{seed}", top, make_script(rng))
        self.assertGreater(steps, CASES)

    def test_what_scripts_seldom_do(self):
        cases = {
            "names in the order of the system": (
                ["from/_a", "from/b", "from/c", "to/b", "to/x"],
                'DELETE_FILES "from/c"\nprint ecode\n'
                'COPY_FILES "from/*" to:"to" no-overwrite\nprint ecode\n'
                'DELETE_FILES "to/x"\nprint ecode\nMOVE_FILES "from/*" to:"to"\nprint ecode'),
            "the current directory's own name": (
                ["own/own/x", "own/y"],
                'SET_CWD path:"own"\nDELETE_FILES "."\nprint ecode\n'
                'COPY_FILES "." to:"own"\nprint ecode\n'
                'SET_CWD path:".."\nDELETE_FILES "own\\\\."\nprint ecode\n'
                'MOVE_FILES "own\\\\own\\\\.." to:"own/own"\nprint ecode'),
            "a directory by a dot": (
                ["d/x", "to/y"],
                'COPY_FILES "d\\\\." to:"to"\nprint ecode\nMOVE_FILES "d\\\\." to:"to"\nprint ecode\n'
                'DELETE_FILES "d\\\\."\nprint ecode'),
            "names that no path can hold": (
                ["a/x*y", "a/z", "b/u\\v", "c/d*e/f", "b/u/v", "to/w"],
                'DELETE_FILES "a/*"\nprint ecode\nCOPY_FILES "a" to:"to"\nprint ecode\n'
                'COPY_FILES "a/?*" to:"to" overwrite-existing-dir\nprint ecode\n'
                'MOVE_FILES "b/*" to:"to"\nprint ecode\nDELETE_FILES "b"\nprint ecode\n'
                'COPY_FILES "c" to:"to" overwrite-existing-dir\nprint ecode\n'
                'DELETE_FILES "c/*"\nprint ecode'),
            "the current directory itself": (
                ["here/x", "here/sub/y", "to/z"],
                'SET_CWD path:"here"\nDELETE_FILES "../here"\nprint ecode\n'
                'MOVE_FILES "../here" to:"../to"\nprint ecode'),
            "a directory that would be new": (
                ["from/a/x", "from/b/y", "to/x"],
                'COPY_FILES "from" to:"to"\nprint ecode\n'
                'DELETE_FILES "to/from/a/x"\nprint ecode\nDELETE_FILES "to/from/a/*.*"\nprint ecode\n'
                'DELETE_FILES "to/from/a/.*"\nprint ecode\nDELETE_FILES "to/from/a/*.q"\nprint ecode\n'
                'DELETE_FILES "to/from/a/?"\nprint ecode'),
            "two spellings of one place": (
                ["a/x", "b/y", "c/z"],
                'COPY_FILES "a/x" to:"b/../a"\nprint ecode\nMOVE_FILES "a\\\\x" to:"a/../b/"\nprint ecode\n'
                'COPY_FILES "b/x" to:"c"\nprint ecode\nDELETE_FILES "c/../b/x"\nprint ecode\n'
                'DELETE_FILES "b/x"\nprint ecode\nCOPY_FILES "a" to:"a/../a"\nprint ecode\n'
                'COPY_FILES "../two/c" to:"a"\nprint ecode'),
        }
        for number, (title, (files, script)) in enumerate(cases.items()):
            with self.subTest(title):
                top = self.folder / ("two" if title.startswith("two") else f"case{number}")
                for name in files:
                    (top / name).parent.mkdir(parents=True, exist_ok=True)
                    (top / name).write_text(name)
                self.compare(f"case{number}", top, script + "\n")

    def test_a_plan(self):
        self.file("from/a.txt", "a")
        self.file("from/sub/b.txt", "b")
        (self.folder / "to").mkdir()
        self.file("a.tav", 'COPY_FILES "from/*" to:"to"; DELETE_FILES "to/sub"; print ecode\n')
        here = str(self.folder)
        self.expect(["run", "--dry-run", "a.tav"],
                    f"would copy {here}/from/a.txt to {here}/to/a.txt\n"
                    f"would create the directory {here}/to/sub\n"
                    f"would copy {here}/from/sub/b.txt to {here}/to/sub/b.txt\n"
                    f"would delete {here}/to/sub/b.txt\n"
                    f"would delete the directory {here}/to/sub\n0\n")
        self.expect(["send", "--dry-run", 'DELETE_FILES "nowhere*"', "DELETE_FILES"],
                    f"would fail at {here}/nowhere*: nothing matches\n ecode:1\n"
                    ' error:"DELETE_FILES: the main value is missing"\n', code=1)


if __name__ == "__main__":
    unittest.main()
