"""--dry-run: the plan is what the commands then do, scripts see what they would see, and nothing is
done."""

import json
import os
import random
import re
import shlex
import shutil
import unittest
from pathlib import Path

from program import ProgramTest

ROOT = Path(__file__).resolve().parents[2]
CASES = int(os.environ.get("TAVHOST_DRY_RUN_CASES", "40"))
STEP = re.compile(r"would (delete the directory|create the directory|delete|move|"
                  r"copy, replacing what is there,|copy) (.*)")
NAMES = ["a", "b", "c.txt", "d.txt", "E.txt", "f.tmp", "_g.txt"]


FILES = {"a.txt": "a", "b.txt": "bb", "sub/c.txt": "ccc", "sub/deep/d": "d", "locked": "locked"}

# Scripts of every command that reads or changes files. In earnest they print the same.
SCRIPTS = {
    "a file that was written": """
        FWRITE file:"new" text:"hello"; print ecode, written
        FILE_EXISTS file:"new"; FILE_EXIST file:"new"; print exists, exist
        FREAD file:"new"; print ecode, text
        FREAD file:"new" base64; print ecode, text
        ENCODE file:"new"; print ecode, text
        FWRITE file:"new" text:", you" append; FREAD file:"new"; print text
        FWRITE file:"new" text:"over"; FREAD file:"new"; print text
        FWRITE file:"a.txt" text:"+" append; FREAD file:"a.txt"; print text
        FWRITE file:"locked" text:"x"; print ecode
        FWRITE file:"sub" text:"x"; print ecode
        FWRITE file:"none/x" text:"x"; print ecode
        FWRITE file:"sub/../e.txt" text:"e"; FREAD file:"e.txt"; print text
    """,
    "a file written in pieces": """
        FWRITE open file:"p"; print ecode
        FWRITE text:"one"; print ecode, written
        FREAD file:"p"; print ecode, text
        FDELETE file:"p"; print ecode
        FILE_RENAME from:"p" to:"q"; print ecode
        FCOPY from:"a.txt" to:"p"; print ecode
        FWRITE text:"two"; print written
        FWRITE close; print ecode
        FREAD file:"p"; print text
        FDELETE file:"p"; print ecode
        FWRITE close; print ecode
        FWRITE open file:"a.txt" append; FWRITE text:"!"; FWRITE close
        FREAD file:"a.txt"; print text
    """,
    "copy, then delete": """
        FCOPY from:"a.txt" to:"copy"; print ecode
        FILE_DELETE file:"a.txt"; print ecode
        FILE_EXISTS file:"a.txt"; print exists
        FREAD file:"a.txt"; print ecode, len(text)
        FREAD file:"copy"; print ecode, text
        FDELETE file:"a.txt"; print ecode
        FILE_COPY from:"copy" to:"a.txt" copy-file-attributes; print ecode
        FREAD file:"a.txt"; print text
        FILE_COPY from:"a.txt" to:"a.txt"; print ecode
        FILE_COPY from:"none" to:"x"; print ecode
        FILE_COPY from:"sub" to:"x"; print ecode
        FILE_COPY from:"a.txt" to:"locked"; print ecode
        FILE_COPY from:"a.txt" to:"none/x"; print ecode
        FILE_COPY from:"locked" to:"x" copy-file-attributes; FDELETE file:"x"; print ecode
        FILE_COPY from:"locked" to:"y"; FDELETE file:"y"; print ecode
        FDELETE file:"locked"; FDELETE file:"sub"; print ecode
    """,
    "renaming": """
        FILE_RENAME from:"a.txt" to:"z"; print ecode
        FREAD file:"z"; print text
        FILE_EXISTS file:"a.txt"; print exists
        FILE_RENAME from:"z" to:"b.txt"; print ecode
        FILE_RENAME from:"z" to:"sub/z"; print ecode
        FILE_RENAME from:"sub" to:"moved"; print ecode
        FREAD file:"moved/z"; print text
        FREAD file:"moved/c.txt"; print text
        FREAD file:"sub/c.txt"; print ecode
        DIR_LIST path:"moved"; print files, dirs
        FDELETE file:"moved/c.txt"; FILE_RENAME from:"moved" to:"again"; print ecode
        DIR_LIST path:"again"; print files, dirs
        FILE_RENAME from:"again" to:"again/deep/in"; print ecode
        FILE_RENAME from:"none" to:"x"; print ecode
    """,
    "directories": """
        DIR_CREATE path:"d"; print ecode
        DIR_CREATE path:"d"; print ecode
        DIR_CREATE path:"x/y"; print ecode
        DIR_EXIST path:"d"; print exist
        IS_DIR_EMPTY path:"d"; print ecode, isempty
        FWRITE file:"d/f" text:"f"; IS_DIR_EMPTY path:"d"; print isempty
        DIR_REMOVE path:"d"; print ecode
        FDELETE file:"d/f"; DIR_REMOVE path:"d"; print ecode
        DIR_EXIST path:"d"; print exist
        DIR_EXIST path:"a.txt"; print exist
        IS_DIR_EMPTY path:"d"; print ecode
        DIR_REMOVE path:"sub"; print ecode
        DIR_REMOVE path:"a.txt"; print ecode
        DELETE_FILES "sub/*"; print ecode
        IS_DIR_EMPTY path:"sub"; print isempty
        DIR_REMOVE path:"sub"; print ecode
        DIR_LIST path:"."; print files, dirs
    """,
    "lists": """
        FWRITE file:"B" text:"x"; FWRITE file:"_" text:"x"; FDELETE file:"b.txt"
        DIR_CREATE path:"aa"
        DIR_LIST path:"."; print ecode, files, dirs
        DIR_LIST path:"." filemask:"*.TXT"; print ecode, files, dirs
        DIR_LIST path:"." filemask:"?"; print ecode, files
        DIR_LIST path:"." filemask:"b.txt"; print ecode
        DIR_LIST path:"aa"; print ecode, files + dirs
        DIR_LIST path:"a.txt"; print ecode
        DIR_LIST path:"sub/deep/.."; print files, dirs
    """,
    "the current directory": """
        GET_CWD; top = cwd
        DIR_CREATE path:"d"; SET_CWD path:"d"; print ecode
        GET_CWD; print slice(cwd, len(top), len(cwd))
        DIR_CREATE path:"e"; DIR_EXIST path:"e"; print exist
        FCOPY from:"../a.txt" to:"here"; print ecode
        FREAD file:"here"; print text
        DIR_EXIST path:"../d/e"; print exist
        SET_CWD path:"none"; print ecode
        DIR_REMOVE path:"../d"; print ecode
        COPY_FILES "here" to:"e"; print ecode
        FREAD file:"e/here"; print text
        SET_CWD path:"../sub"; print ecode
        FREAD file:"c.txt"; print text
        SET_CWD path:(top); GET_CWD; print cwd == top
        FREAD file:"d/here"; print text
    """,
    "trees": """
        DIR_CREATE path:"to"; COPY_FILES "sub" to:"to"; print ecode
        FREAD file:"to/sub/deep/d"; print text
        DELETE_FILES "sub"; print ecode
        DIR_EXIST path:"sub"; print exist
        MOVE_FILES "to/sub" to:"."; print ecode
        FREAD file:"sub/c.txt"; print text
        DIR_LIST path:"to"; print files + dirs
        COPY_FILES "sub" to:"sub/deep"; print ecode
        COPY_FILES "*" to:"to"; print ecode
        COPY_FILES "s*" to:"to"; print ecode
        COPY_FILES "s*" to:"to"; print ecode
        COPY_FILES "s*" to:"to" overwrite-existing-dir; print ecode
        COPY_FILES "s*" to:"to" overwrite-existing-dir no-overwrite; print ecode
        MOVE_FILES "?.txt" to:"to/sub"; print ecode
        DIR_LIST path:"to/sub"; print files, dirs
        DELETE_FILES "to/sub/?.*"; print ecode
        DIR_LIST path:"to/sub"; print files, dirs
        DELETE_FILES "none*"; print ecode
        COPY_FILES "sub" to:"none"; print ecode
        DELETE_FILES "locked"; print ecode
    """,
    "links": """
        FREAD file:"link"; print text
        FCOPY from:"link" to:"through"; print ecode
        FREAD file:"through"; print ecode, text
        DIR_CREATE path:"to"; COPY_FILES "link" to:"to"; print ecode
        FDELETE file:"link"; print ecode
        FILE_EXISTS file:"link"; print exists
        FILE_EXISTS file:"a.txt"; print exists
        DELETE_FILES "to"; print ecode
    """,
    "the database area": """
        FREAD file:"db:\\\\stored"; print ecode, text
        FWRITE file:"db:\\\\New" text:"n"; print ecode
        FREAD file:"db:\\\\new"; print ecode, text
        DB_FILE_LIST; print ecode, files
        FWRITE file:"db:\\\\STORED" text:"+" append; FREAD file:"db:\\\\stored"; print text
        FILE_RENAME from:"db:\\\\new" to:"db:\\\\Other"; print ecode
        DB_FILE_LIST; print files
        FCOPY from:"a.txt" to:"db:\\\\other"; FREAD file:"db:\\\\OTHER"; print text
        FILE_COPY from:"db:\\\\other" to:"db:\\\\x" to-libraryid:7; print ecode
        FILE_COPY from:"db:\\\\x" to:"back" from-libraryid:7; FREAD file:"back"; print text
        FDELETE file:"db:\\\\stored"; print ecode
        FILE_EXISTS file:"db:\\\\Stored"; print exists
        DB_FILE_LIST; print files
        FWRITE file:"db:\\\\a:b" text:"x"; print ecode
        FILE_RENAME from:"db:\\\\other" to:"out"; print ecode
    """,
    "paths that end in separators and dots": """
        FREAD file:"a.txt/"; print ecode
        FREAD file:"a.txt/./"; print ecode
        FREAD file:"a.txt/."; print ecode
        FREAD file:"sub/"; print ecode
        FREAD file:"none/"; print ecode
        ENCODE file:"a.txt/"; print ecode, text
        FILE_EXISTS file:"a.txt/./"; print exists
        DIR_EXIST path:"sub/./"; print exist
        DIR_LIST path:"sub" filemask:""; print ecode
        DIR_LIST path:"sub/" filemask:""; print ecode
        DIR_LIST path:"sub/." filemask:""; print ecode
        DIR_LIST path:"sub/deep/../" filemask:""; print ecode
        DIR_LIST path:"." filemask:""; print ecode
        DIR_LIST path:"./" filemask:""; print ecode
        DIR_LIST path:"sub/."; print ecode, files, dirs
        FILE_RENAME from:"." to:"."; print ecode
        FILE_RENAME from:"." to:"x"; print ecode
        FILE_RENAME from:"sub/.." to:"sub/.."; print ecode
        FILE_RENAME from:"sub/." to:"sub"; print ecode
        FILE_RENAME from:"/" to:"/"; print ecode
    """,
    "files of the area that are not stored yet": """
        FWRITE open file:"db:\\\\New"; print ecode
        FILE_COPY from:"a.txt" to:"db:\\\\New"; print ecode
        FILE_COPY from:"a.txt" to:"db:\\\\nEW"; print ecode
        FILE_RENAME from:"db:\\\\stored" to:"db:\\\\new"; print ecode
        FWRITE open file:"db:\\\\new"; print ecode
        FDELETE file:"db:\\\\new"; print ecode
        FWRITE close; print ecode
    """,
    "the folder of the area": """
        DELETE_FILES "area"; print ecode
        FREAD file:"db:\\\\stored"; print ecode
        DB_FILE_LIST; print ecode, files
        FWRITE file:"db:\\\\new" text:"n"; print ecode
        DB_FILE_LIST; print ecode, files
        FREAD file:"db:\\\\new"; print ecode, text
    """,
    "names that are too long": f"""
        FWRITE file:"{"n" * 255}" text:"x"; print ecode
        FWRITE file:"{"n" * 256}" text:"x"; print ecode
        FWRITE open file:"{"n" * 256}"; print ecode
        FWRITE file:"sub/{"n" * 256}" text:"x" append; print ecode
        DIR_CREATE path:"{"n" * 300}"; print ecode
        DIR_CREATE path:"d"; DIR_CREATE path:"d/{"n" * 300}"; print ecode
        FCOPY from:"a.txt" to:"{"n" * 256}"; print ecode
        FCOPY from:"a.txt" to:"d/{"n" * 256}"; print ecode
        FILE_RENAME from:"a.txt" to:"{"n" * 256}"; print ecode
        FILE_EXISTS file:"{"n" * 256}"; print exists
    """,
    "one file by two names": """
        FCOPY from:"b.txt" to:"hard"; print ecode
        FILE_COPY from:"a.txt" to:"link"; print ecode
        FCOPY from:"link" to:"a.txt"; print ecode
        FCOPY from:"a.txt" to:"copy"; print ecode
        FCOPY from:"copy" to:"a.txt"; print ecode
        FILE_RENAME from:"b.txt" to:"b2"; FCOPY from:"b2" to:"hard"; print ecode
    """,
    "a script in a text": """
        EXECUTE "FWRITE file:\\"e\\" text:\\"x\\""
        FREAD file:"e"; print ecode, text
    """,
}


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
        if line.startswith(("would fail", "in all, would ")):
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
        return len(planned.out.splitlines()) - len(codes) - 1

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
                    f"would delete the directory {here}/to/sub\n0\n"
                    "in all, would copy (2), delete (1), delete the directory (1), "
                    "create the directory (1); failures: 0\n")
        self.expect(["send", "--dry-run", 'DELETE_FILES "nowhere*"', "DELETE_FILES"],
                    f"would fail at {here}/nowhere*: nothing matches\n ecode:1\n"
                    ' error:"DELETE_FILES: the main value is missing"\n'
                    "in all, would do nothing; failures: 1\n", code=1)

    def told(self, out):
        """What the script printed, without what the dry run told."""
        return "".join(line for line in out.splitlines(keepends=True)
                       if not line.startswith(("would ", "in all, would ")))

    def test_scripts_see_what_they_would_see(self):
        """A script prints the same in a dry run, which changes nothing, as in earnest."""
        for title, script in SCRIPTS.items():
            with self.subTest(title):
                top = self.folder / "top"
                shutil.rmtree(top, ignore_errors=True)
                for name, text in FILES.items():
                    (top / name).parent.mkdir(parents=True, exist_ok=True)
                    (top / name).write_text(text)
                (top / "locked").chmod(0o444)
                os.symlink("a.txt", top / "link")
                os.link(top / "b.txt", top / "hard")
                (top / "area/0").mkdir(parents=True)
                (top / "area/0/Stored").write_text("stored")
                self.file("top/script.tav", script)
                before = snapshot(top)
                arguments = ("--db", "area", "run", "script.tav")
                planned = self.run_program("--dry-run", *arguments, cwd=top)
                self.assertEqual((planned.err, planned.code), ("", 0))
                self.assertEqual(snapshot(top), before, "a dry run does nothing")
                real = self.run_program(*arguments, cwd=top)
                self.assertEqual((real.err, real.code), ("", 0))
                self.assertEqual(self.told(planned.out), real.out, planned.out)
                self.assertIn("\n", real.out)

    def test_a_link_in_place_of_a_folder_fails_once(self):
        self.file("src/sub/file", "x")
        self.file("to/src/other/file", "x")
        os.symlink("other", self.folder / "to/src/sub")
        self.file("a.tav", 'COPY_FILES "src" to:"to" overwrite-existing-dir\nprint ecode\n')
        result = self.run_program("run", "--dry-run", "a.tav")
        self.assertEqual(result.out, f"would fail at {self.folder}/to/src/sub: it is a link (a.tav:1)\n1\n"
                                     "in all, would do nothing; failures: 1\n")

    def test_a_name_cannot_forge_a_line(self):
        """Nobody can write a line of the report by the name of a file."""
        self.file("a", "a")
        self.file("a.tav", 'FILE_RENAME from:"a" to:"b\\nin all, would do nothing; failures: 0"\n'
                           'FDELETE file:"no\\x1B[2Jne"\n')
        result = self.run_program("run", "--dry-run", "a.tav")
        folder = self.folder
        self.assertEqual(result.out, (
            f'would move {folder}/a to "{folder}/b\\nin all, would do nothing; failures: 0"\n'
            f'would fail at "{folder}/no\\x1B[2Jne": there is no such file (a.tav:2)\n'
            "in all, would move (1); failures: 1\n"))

    def test_a_path_that_means_a_directory_is_told_as_one(self):
        self.file("a", "a")
        (self.folder / "d").mkdir()
        means = "a path that ends so means a directory"
        rows = (('FDELETE file:"a/"', "a/", means), ('FCOPY from:"a/" to:"b"', "a/", means),
                ('FCOPY from:"a" to:"b/"', "b/", means), ('FWRITE file:"a/" text:"x"', "a/", means),
                ('FILE_RENAME from:"a/" to:"b"', "a/", "there is no such directory"),
                ('DIR_REMOVE path:"a/"', "a/", "there is no such directory"),
                ('DIR_CREATE path:"d/./"', "d/", "it exists"),
                ('DELETE_FILES "d/"', "d/", "nothing matches"),
                ('COPY_FILES "a" to:"a/"', "a/", "there is no such directory"))
        told = [line for line in self.run_program(
            "run", "--dry-run", *(part for row in rows for part in ("-e", row[0]))
        ).out.splitlines() if line.startswith("would ")]
        self.assertEqual(told, [f"would fail at {self.folder}/{path}: {why} (<command line>:{line})"
                                for line, (_, path, why) in enumerate(rows, 1)])

    def test_a_temporary_file_without_a_folder_is_counted(self):
        self.file("a.tav", 'DELETE_FILES "tmp"\nfilename = ""\nGET_TEMP_FILENAME\nprint filename\n')
        (self.folder / "tmp").mkdir()
        result = self.run_program("run", "--dry-run", "a.tav",
                                  env={"TMPDIR": str(self.folder / "tmp")})
        self.assertIn(f"would fail at {self.folder}/tmp: there is no such directory (a.tav:3)\n", result.out)
        self.assertIn("failures: 1\n", result.out)

    def test_the_report_for_programs(self):
        self.file("a.txt", "a")
        self.file("a.tav", 'FWRITE file:"b.txt" text:"bb"\nFCOPY from:"a.txt" to:"b.txt"\n'
                           'print "two", "lines"\nFDELETE file:"none"\nDIR_CREATE path:"d"\n')
        result = self.run_program("run", "--dry-run=json", "a.tav")
        self.assertEqual((result.err, result.code), ("", 0))
        here = str(self.folder)
        lines = [json.loads(line) for line in result.out.splitlines()]
        self.assertEqual(lines[:-1], [
            {"step": "write", "command": "FWRITE", "path": f"{here}/b.txt", "bytes": 2,
             "replaces": False},
            {"step": "copy", "command": "FCOPY", "from": f"{here}/a.txt", "to": f"{here}/b.txt",
             "replaces": True},
            {"output": "two lines\n"},
            {"step": "fail", "command": "FDELETE", "path": f"{here}/none",
             "reason": "there is no such file", "script": "a.tav", "line": 4},
            {"step": "create-directory", "command": "DIR_CREATE", "path": f"{here}/d"}])
        counts = {name: count for name, count in lines[-1]["counts"].items() if count}
        self.assertEqual((counts, lines[-1]["failures"]),
                         ({"write": 1, "copy": 1, "create-directory": 1}, 1))
        self.expect_usage_error(["run", "--dry-run=xml", "a.tav"],
                                "--dry-run: the only other form is json", "run")

    def test_what_leaves_the_process_is_told(self):
        self.file("a.tav", 'HTTP_REQUEST "http://user:pw@127.0.0.1:9/x" verb:"POST" -> r\n'
                           'print r.ecode, "|" + r.response + "|"\n'
                           'COPY_TO_CLIPBOARD "abc"\nprint ecode\n'
                           'SERVICE start port:8123\nprint ecode\n'
                           'SERVICE start port:8124\nprint ecode\n'
                           'IS_SCRIPT_SERVICE_RUNNING\nprint result\n'
                           'SERVICE stop\nIS_SCRIPT_SERVICE_RUNNING\nprint result\n')
        self.expect(["run", "--dry-run", "a.tav"],
                    "would send POST to http://127.0.0.1:9/x\n0 ||\n"
                    "would copy to the clipboard: 3 bytes\n0\n"
                    "would start the script service on port 8123\n0\n"
                    "would fail at 8124: the service runs already (a.tav:7)\n1\n1\n"
                    "would stop the script service\n0\n"
                    "in all, would send (1), copy to the clipboard (1), "
                    "start the script service (1), stop the script service (1); "
                    "failures: 1\n")

    def test_a_temporary_file_is_not_made(self):
        folder = self.folder / "temporary"
        folder.mkdir()
        self.environment["TMPDIR"] = str(folder)
        self.file("a.tav", 'GET_TEMP_FILENAME\nfirst = filename\nGET_TEMP_FILENAME\n'
                           'FWRITE file:(first) text:"x"\nFREAD file:(first)\n'
                           'print text, first != filename\nFDELETE file:(first)\nprint ecode\n')
        result = self.run_program("run", "--dry-run", "a.tav")
        self.assertEqual((self.told(result.out), result.err), ("x 1\n1\n", ""), result)
        self.assertEqual(os.listdir(folder), [])

    def test_what_is_left_open_is_told_at_the_end(self):
        self.file("a.tav", 'FWRITE open file:"x"\nFWRITE text:"abc"\n')
        self.expect(["run", "--dry-run", "a.tav"],
                    f"would open {self.folder}/x\nwould append 3 bytes to {self.folder}/x\n"
                    "in all, would open (1), append (1); failures: 0\n")

    def test_a_file_kept_open_is_told_as_it_grows(self):
        """A later step that stands between two texts in earnest does so in the report; what appears
        only when it is closed is told then."""
        self.file("old", "old")
        self.file("a.tav", 'FWRITE open file:"old"\nFWRITE text:"one"\nFDELETE file:"b"\n'
                           'FWRITE text:"two"\nFWRITE close\nFWRITE open file:"old" append\n'
                           'FWRITE close\nFWRITE open file:"db:\\\\k"\nFWRITE text:"one"\n'
                           'DIR_CREATE path:"d"\nFWRITE close\n')
        here = self.folder
        self.expect(["run", "--dry-run", "--db", "area", "a.tav"],
                    f"would open, replacing what is there, {here}/old\n"
                    f"would append 3 bytes to {here}/old\n"
                    f"would fail at {here}/b: there is no such file (a.tav:3)\n"
                    f"would append 3 bytes to {here}/old\nwould open {here}/old\n"
                    f"would create the directory {here}/d\n"
                    f"would write 3 bytes to {here}/area/0/k\n"
                    "in all, would create the directory (1), open (2), write (1), append (2); "
                    "failures: 1\n")

    def test_what_fails_before_the_host_is_asked_is_counted(self):
        self.file("a.tav", 'FWRITE text:"x"\nFWRITE file:"x" text:"!" base64\nFWRITE close\n'
                           'FWRITE open file:"o"\nFWRITE file:"x" text:"x" -> r\nFWRITE close\n'
                           'DELETE_FILES "a\\0"\n'
                           'FWRITE file:"x\\0" text:"x"\nSERVICE stop\nprint r.ecode\n'
                           'EXECUTE "FWRITE text:1"\n')
        result = self.run_program("run", "--dry-run", "a.tav")
        self.assertEqual(result.out,
                         "would fail: FWRITE has ecode 4 (a.tav:1)\n"
                         "would fail at x: FWRITE has ecode 3 (a.tav:2)\n"
                         "would fail: FWRITE has ecode 1 (a.tav:3)\n"
                         f"would open {self.folder}/o\n"
                         "would fail at x: FWRITE has ecode 3 (a.tav:5)\n"
                         'would fail at "a\\0": DELETE_FILES has ecode 1 (a.tav:7)\n'
                         'would fail at "x\\0": FWRITE has ecode 1 (a.tav:8)\n'
                         "would fail: SERVICE has ecode 1 (a.tav:9)\n3\n"
                         "in all, would open (1); failures: 7\n", result)
        self.expect(["send", "--dry-run", 'FWRITE text:"x"', 'FWRITE close'],
                    "would fail: FWRITE has ecode 4\n ecode:4 written:0\n"
                    "would fail: FWRITE has ecode 1\n ecode:1\n"
                    "in all, would do nothing; failures: 2\n")

    def test_sound_printer_and_crash_are_told(self):
        self.file("a.tav", 'BEEP freq:440 ms:20\nSET_PRINTER name:"P"\nprint ecode\n'
                           'GET_PRINTER_INFO\nprint name\nCRASH\nprint "goes on"\n')
        self.expect(["run", "--dry-run", "a.tav"],
                    "would beep 440 Hz for 20 ms\nwould choose the printer P\n0\nP\nwould crash\n"
                    "goes on\nin all, would choose the printer (1), beep (1), crash (1); "
                    "failures: 0\n")

    def lines_of(self, *arguments):
        result = self.run_program(*arguments)
        self.assertEqual(result.err, "")
        return [json.loads(line) for line in result.out.splitlines()]

    def test_all_that_is_printed_is_json(self):
        self.file("a.tav", 'CREATE_OUTPUT_WIN winid:"w" title:"W"\nOUT winid:"w" text:"whole\n"\n'
                           'EXECUTE "print 1"\nOUT winid:"w" text:"no end"\nprint 2\n')
        lines = self.lines_of("run", "--dry-run=json", "a.tav")
        self.assertEqual([line.get("output") for line in lines[:-1]],
                         ["w: whole\n", "1\n", "2\n", "w: no end\n"])
        self.assertEqual(lines[-1]["failures"], 0)

    def test_a_reply_is_one_object(self):
        lines = self.lines_of("send", "--dry-run=json", "FILE_EXIST file:\"x\"",
                              'EXECUTE "print 1"', "FWRITE text:\"x\"")
        self.assertEqual(lines[:-1], [
            {"output": " exist:0\n"}, {"output": "1\n"}, {"output": "\n"},
            {"step": "fail", "command": "FWRITE", "reason": "FWRITE has ecode 4"},
            {"output": " ecode:4 written:0\n"}])

    def test_a_folder_does_not_go_to_another_file_system(self):
        far = next((place for place in ("/dev/shm", "/var/tmp", "/tmp")
                    if os.access(place, os.W_OK)
                    and os.stat(place).st_dev != os.stat(self.folder).st_dev), None)
        if far is None:
            self.skipTest("there is no second file system")
        (self.folder / "d").mkdir()
        target = f"{far}/tavhost-none-{os.getpid()}"
        self.file("a.tav", f'FILE_RENAME from:"d" to:"{target}"\nprint ecode\nDIR_CREATE path:"e"\n'
                           f'FILE_RENAME from:"e" to:"{target}"\nprint ecode\n')
        why = "a directory cannot be moved to another file system"
        self.expect(["run", "--dry-run", "a.tav"],
                    f"would fail at {self.folder}/d: {why} (a.tav:1)\n1\n"
                    f"would create the directory {self.folder}/e\n"
                    f"would fail at {self.folder}/e: {why} (a.tav:4)\n1\n"
                    "in all, would create the directory (1); failures: 2\n")
        self.assertEqual(self.run_program("run", "a.tav").out, "1\n1\n")

    def test_the_page_tells_of_every_command_what_becomes_of_it(self):
        """Of those told the example tells a step, of the others none."""
        page = (ROOT / "docs/dry-run.md").read_text(encoding="utf-8")
        listed = {what: re.findall(r"\b[A-Z][A-Z_]+[A-Z]\b", names) for what, names in
                  re.findall(r"^\| (told|carried out|reads) \| (.*) \|$", page, re.M)}
        named = sorted(name for names in listed.values() for name in names)
        commands = [command for family in
                    json.loads(self.run_program("commands", "--json").out)["families"]
                    for command in family["commands"]]
        self.assertEqual(named, sorted(command["name"] for command in commands))
        told = set()
        for command in commands:
            folder = self.folder / command["name"]
            folder.mkdir()
            example = command["example"]
            (folder / "a.tav").write_text(example["script"], encoding="utf-8")
            (folder / "answers.kel").write_text(example.get("answers", "") + "\n", encoding="utf-8")
            result = self.run_program("--answers", "answers.kel", "--db", "area",
                                      *shlex.split(example.get("options", "")), "run",
                                      "--dry-run=json", "a.tav", cwd=folder)
            self.assertEqual((result.code, result.err), (0, ""), command["name"])
            steps = [json.loads(line) for line in result.out.splitlines()]
            if any(step.get("command") == command["name"] for step in steps):
                told.add(command["name"])
        self.assertEqual(sorted(told), sorted(listed["told"]))


if __name__ == "__main__":
    unittest.main()
