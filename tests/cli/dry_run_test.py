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
NAMES = ["a", "b", "c.txt", "d.txt", "E.txt", "f.tmp"]


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
                             "from/?.t*", "from\\\\a\\\\*.tmp", "*", "from"])
        target = rng.choice(["to", "to\\\\a", "to/b", "from/a", "to/c.txt", "new", "."])
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
    def test_plan_equals_effect(self):
        steps = 0
        for seed in range(CASES):
            with self.subTest(seed=seed):
                rng = random.Random(seed)
                top = self.folder / f"tree{seed}"
                for name in ("from", "to"):
                    (top / name).mkdir(parents=True)
                    make_tree(rng, top / name)
                script = self.file(f"s{seed}.tav", make_script(rng))
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
                codes = carry_out(planned.out, top)
                steps += len(planned.out.splitlines()) - len(codes)
                text = Path(self.folder, script).read_text() + planned.out
                self.assertEqual(codes, real.out.split(), text)
                self.assertEqual(snapshot(top), effect, text)
        self.assertGreater(steps, CASES)

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
