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


OPTION = r"--[a-z-]+|-[a-z]\b"


class NamesTest(ProgramTest):
    """The help, the man page and the page about the command line name the same, each all of it."""

    def help_names(self):
        told = self.run_program("--help").out
        subcommands = set(re.findall(r"(?m)^  ([a-z]+) +[A-Z]", told))
        options = set(re.findall(rf"(?m)^  ({OPTION})", told)) | {"-h"}  # told behind --help
        for name in subcommands:
            page = self.run_program(name, "--help").out
            options |= set(re.findall(rf"(?m)^  ({OPTION})", page))
        return subcommands, options

    @staticmethod
    def man_names():
        """The entries of both kinds, and all options that are named anywhere."""
        page = MAN_PAGE.read_text()
        sections = re.findall(r"(?ms)^\.SH (\w+)\n(.*?)(?=^\.SH |\Z)", page)
        entries = {title: [plain(line) for line in re.findall(r"(?m)^\.TP\n\.\w+ (.*)", text)]
                   for title, text in sections}
        subcommands = {entry.strip('"').split()[0] for entry in entries["SUBCOMMANDS"]}
        options = {name for entry in entries["OPTIONS"] for name in re.findall(OPTION, entry)}
        told = set(re.findall(OPTION, plain(page)))
        return subcommands, options, told

    @staticmethod
    def page_names():
        page = (ROOT / "docs/command-line.md").read_text()
        usage = re.search(r"(?ms)^```\n(.*?)^```", page)[1]
        cells = re.findall(r"(?m)^\| ([^|]*(?:\\\|[^|]*)*)\|", page)
        subcommands = set(re.findall(r"(?m)^tavhost ([a-z]+)", usage))
        names = {name for text in [usage, *cells]
                 for name in re.findall(rf"(?<![\w-])({OPTION})", text)}
        return subcommands, names

    def test_the_man_page_has_the_exit_codes_of_the_page_about_the_command_line(self):
        """Code by code in the same words."""
        section = (ROOT / "docs/command-line.md").read_text().split("## Exit codes\n")[1]
        rows = re.findall(r"(?m)^\| (\d+|N) \| (.+) \|$", section.split("\n## ")[0])
        self.assertGreater(len(rows), 9)
        told = MAN_PAGE.read_text().split(".SH EXIT STATUS\n")[1].split("\n.SH ")[0]
        entries = re.findall(r"(?ms)^\.TP\n\.[BI] (\S+)\n(.*?)(?=^\.|\Z)", told)
        self.assertEqual([(code, plain(text).replace("\n", " ").strip().lower())
                          for code, text in entries],
                         [(code, text.replace("`", "").lower() + ".") for code, text in rows])

    def test_each_names_every_subcommand(self):
        told = self.help_names()[0]
        self.assertGreater(len(told), 8)
        self.assertEqual(self.man_names()[0], told)
        self.assertEqual(self.page_names()[0], told)

    def test_each_names_every_option_and_no_other(self):
        told = self.help_names()[1]
        self.assertGreater(len(told), 20)
        _, entries, anywhere = self.man_names()
        self.assertEqual(entries, told)
        self.assertEqual(anywhere - told, set())
        self.assertEqual(self.page_names()[1], told)


class ManPageTest(ProgramTest):
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
