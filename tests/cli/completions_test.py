"""The completion of the command line in bash; the other shells' files name the same words."""

import re
import shlex
import shutil
import subprocess
import unittest
from pathlib import Path

from program import ProgramTest

COMPLETIONS = Path(__file__).resolve().parent.parent.parent / "completions"


class CompletionsTest(ProgramTest):
    def complete(self, *words):
        """What bash offers for the last word."""
        quoted = " ".join(map(shlex.quote, (self.program, *words)))
        script = (f"source {shlex.quote(str(COMPLETIONS / 'tavhost.bash'))}\n"
                  f"COMP_WORDS=({quoted}); COMP_CWORD={len(words)}\n"
                  "_tavhost 2> /dev/null; printf '%s\\n' \"${COMPREPLY[@]}\"")
        out = subprocess.run(["bash", "-c", script], cwd=self.folder, env=self.environment,
                             capture_output=True, text=True, check=True).stdout
        return sorted(out.split())

    @unittest.skipUnless(shutil.which("bash"), "there is no bash")
    def test_bash(self):
        self.file("demo.tav", "")
        self.file("data.txt", "")
        self.assertEqual(self.complete("re"), ["repl"])
        self.assertEqual(self.complete("--ui", "q"), ["qt"])
        self.assertEqual(self.complete("--ui", "qt", "ru"), ["run"])
        self.assertEqual(self.complete("run", "--sc"), ["--screen", "--screenshots"])
        self.assertEqual(self.complete("run", "d"), ["demo.tav"])
        self.assertEqual(self.complete("run", "demo.tav", "d"), ["data.txt", "demo.tav"])
        self.assertEqual(self.complete("commands", "GET_D"), ["GET_DISPLAY_SIZE"])
        self.assertEqual(self.complete("check", "--j"), ["--json"])
        self.assertEqual(self.complete("check", "--a"), ["--answers"])
        self.assertEqual(self.complete("check", "--r"), [])
        self.assertEqual(self.complete("lsp", "--"), ["--help", "--timeout", "--version"])
        self.assertEqual(self.complete("trace", ""), ["diff"])
        self.assertEqual(self.complete("serve", "--a"),
                         ["--address", "--allow-crash", "--answers"])

    def test_every_shell_knows_every_option_and_subcommand(self):
        words = set()
        for arguments in ([], ["run"], ["check"], ["serve"]):
            help_text = self.run_program(*arguments, "--help").out
            words |= set(re.findall(r"(?m)^  (--[a-z-]+|[a-z]+)\b", help_text))
        self.assertIn("--model-window", words)
        self.assertIn("repl", words)
        for file in COMPLETIONS.iterdir():
            text = file.read_text()
            for word in words:
                wanted = f"-l {word[2:]}" if file.suffix == ".fish" and word[0] == "-" else word
                self.assertIn(wanted, text, file.name)


if __name__ == "__main__":
    unittest.main()
