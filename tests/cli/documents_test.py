"""The man page and the pages about the program name what the program has."""

import re
import shutil
import subprocess
import unittest
from pathlib import Path

from program import ProgramTest

ROOT = Path(__file__).resolve().parent.parent.parent
MAN_PAGE = ROOT / "docs/man/tavhost.1"
LINK = re.compile(r"\]\(([^)#\s]+)(?:#[^)]*)?\)")


def plain(roff):
    """The text of the man page, as far as names are concerned."""
    return re.sub(r"\\(?:f.|[-&])", lambda m: "-" if m[0] == r"\-" else "", roff)


class ManPageTest(ProgramTest):
    def test_it_names_every_option_and_subcommand(self):
        page = plain(MAN_PAGE.read_text())
        told = self.run_program("--help").out
        names = set(re.findall(r"(?m)^  (--?[a-z-]+)", told))
        for row in re.findall(r"(?m)^  ([a-z]+) +[A-Z]", told):
            names |= {row, *re.findall(r"(?m)^  (--?[a-z-]+)", self.run_program(row, "--help").out)}
        self.assertGreater(len(names), 20)
        for name in sorted(names):
            self.assertRegex(page, rf"(?m)(^|[\s.\"]){re.escape(name)}\b", name)

    @unittest.skipUnless(shutil.which("mandoc") or shutil.which("man"), "there is no man")
    def test_it_is_well_formed(self):
        command = (["mandoc", "-T", "lint", "-W", "warning"] if shutil.which("mandoc")
                   else ["man", "--warnings", "-l"])
        done = subprocess.run([*command, MAN_PAGE], capture_output=True, text=True,
                              env=self.environment)
        problems = done.stderr if command[0] == "man" else done.stdout + done.stderr
        self.assertEqual((problems, done.returncode), ("", 0))


class PagesTest(ProgramTest):
    def test_links_lead_somewhere(self):
        pages = [ROOT / "README.md", *(ROOT / "docs").glob("*.md")]
        self.assertGreater(len(pages), 8)
        for page in pages:
            for link in LINK.findall(page.read_text()):
                if "://" in link or link.startswith("commands/"):
                    continue  # pages that are written when the site is made
                self.assertTrue((page.parent / link).exists(), f"{page.name}: {link}")

    def test_the_command_line_page_names_every_option_and_subcommand(self):
        page = (ROOT / "docs/command-line.md").read_text()
        told = self.run_program("--help").out
        for name in re.findall(r"(?m)^  (--[a-z-]+)", told) + \
                ["tavhost " + row for row in re.findall(r"(?m)^  ([a-z]+) +[A-Z]", told)]:
            self.assertIn(name, page)

    def test_the_language_page_names_every_function(self):
        page = (ROOT / "docs/language.md").read_text()
        table = (ROOT / "tavhost/script/built_in/built_in.cpp").read_text()
        names = re.findall(r'^\s*\{"(\w+)", \d', table, re.MULTILINE)
        self.assertGreater(len(names), 30)
        for name in names:
            self.assertIn(f"`{name}(", page)

    def test_scripts_on_the_pages_have_no_mistakes(self):
        """Whole scripts, which begin with a comment line that says so, or with a command."""
        for name in ("index.md", "tutorial.md"):
            text = (ROOT / "docs" / name).read_text()
            blocks = [block for block in re.findall(r"(?ms)^```\n(.*?)^```", text)
                      if not block.startswith(("$", "tav>"))]
            self.assertTrue(blocks)
            for block in blocks:
                self.file("block.tav", "wait = 1; known = ()\n" + block)
                result = self.run_program("check", "block.tav")
                self.assertEqual(result.code, 0, f"{name}\n{block}{result.out}")


if __name__ == "__main__":
    unittest.main()
