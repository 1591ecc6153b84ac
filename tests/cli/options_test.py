"""Options, operands and what is wrong with them."""

import os
import re
import unittest

from program import ProgramTest

SUBCOMMANDS = ["run", "send", "check", "commands", "validate", "repl", "serve", "lsp", "trace"]
COMMON_OPTIONS = ["--timeout", "--version", "--help"]
RUN_OPTIONS = ["--ui", "--record", "--trace", "--screenshots", "--plugin", "--db", "--screen",
               "--printer", "--quiet", "--model-window", "--dry-run"]  # of what runs commands
RUNNING = ["workbench", "run", "send", "repl", "serve"]


class HelpTest(ProgramTest):
    def test_help_names_every_subcommand_and_option(self):
        result = self.run_program("--help")
        self.assertEqual((result.code, result.err), (0, ""))
        for name in SUBCOMMANDS:
            self.assertRegex(result.out, rf"(?m)^  {name} +\S")
        for option in [*COMMON_OPTIONS, *RUN_OPTIONS, "--answers"]:
            self.assertIn(option, result.out)
        self.assertIn("\nOptions of workbench, run, send, repl and serve:\n  --ui", result.out)
        self.assertIn("Exit codes:", result.out)

    def test_each_subcommand_has_help(self):
        for name in SUBCOMMANDS:
            for arguments in ([name, "--help"], [name, "-h"], ["--help", name]):
                result = self.run_program(*arguments)
                self.assertEqual((result.code, result.err), (0, ""), arguments)
                self.assertRegex(result.out, rf"Usage: tavhost {name}\b")
                self.assertLessEqual(set(COMMON_OPTIONS), self.options_in(result.out))
                self.assertEqual(set(RUN_OPTIONS) <= self.options_in(result.out), name in RUNNING)
                self.assertEqual(set(RUN_OPTIONS).isdisjoint(self.options_in(result.out)),
                                 name not in RUNNING)
                self.assertEqual("--answers" in self.options_in(result.out),
                                 name in [*RUNNING, "check"])

    @staticmethod
    def options_in(help_text):
        return set(re.findall(r"(?m)^  (--[a-z-]+)", help_text))

    def test_version(self):
        for arguments in (["--version"], ["run", "--version"], ["--version", "repl"]):
            result = self.run_program(*arguments)
            self.assertEqual((result.code, result.err), (0, ""))
            self.assertRegex(result.out, r"^tavhost \d+\.\d+\.\d+\n$")

    def test_help_behind_the_script_is_the_scripts(self):
        self.file("a.tav", "print args")
        self.expect(["run", "a.tav", "--help"], '("--help")\n')


class MistakeTest(ProgramTest):
    def test_unknown_subcommand(self):
        self.expect_usage_error(["rum"], "unknown subcommand 'rum'; did you mean 'run'?")
        self.expect_usage_error(["xyzzy"], "unknown subcommand 'xyzzy'")
        self.expect_usage_error(
            ["demo.tav"],
            "unknown subcommand 'demo.tav'; a script is run by 'tavhost run demo.tav'")
        self.expect_usage_error([""], "unknown subcommand ''")

    def test_unknown_option(self):
        self.expect_usage_error(["--trase", "x", "run", "a.tav"],
                                "unknown option '--trase'; did you mean '--trace'?")
        self.expect_usage_error(["run", "--anwsers=x", "a.tav"],
                                "unknown option '--anwsers'; did you mean '--answers'?", "run")
        self.expect_usage_error(["run", "-z", "a.tav"], "unknown option '-z'", "run")
        self.expect_usage_error(["run", "--json", "a.tav"], 
                                "option '--json' is not for run, but for check, commands and validate",
                                "run")
        self.expect_usage_error(["check", "a.tav", "--jsn"],
                                "unknown option '--jsn'; did you mean '--json'?", "check")
        self.expect_usage_error(["-e", "print 1"],
                                "option '-e' is not for the workbench, but for run")

    def test_an_option_of_other_subcommands(self):
        """It is refused, wherever it stands: its effect would be missed."""
        values = {"--ui": "headless", "--screen": "1x1"}
        for subcommand, operands in (("check", ["a.tav"]), ("commands", []), ("validate", ["x.so"]),
                                     ("lsp", []), ("trace", ["diff", "a", "b"])):
            for option in [*RUN_OPTIONS, "--answers"]:
                if (subcommand, option) == ("check", "--answers"):
                    continue
                takers = "workbench, run, send, repl and serve"
                if option == "--answers":
                    takers = takers.replace("repl", "check, repl")
                message = f"option '{option}' is not for {subcommand}, but for {takers}"
                given = [option]
                if option not in ("--quiet", "--model-window", "--dry-run"):
                    given.append(values.get(option, "x"))
                self.expect_usage_error([*given, subcommand, *operands], message, subcommand)
                self.expect_usage_error([subcommand, *given, *operands], message, subcommand)

    def test_missing_operands(self):
        self.expect_usage_error(["run"], "run needs a script", "run")
        self.expect_usage_error(["send"], "send needs a command", "send")
        self.expect_usage_error(["check"], "check needs a script", "check")
        self.expect_usage_error(["validate"], "validate needs the path of one plug-in", "validate")
        self.expect_usage_error(["trace"], "trace diff needs two trace files", "trace")
        self.expect_usage_error(["trace", "diff", "a"], "trace diff needs two trace files", "trace")

    def test_surplus_operands(self):
        self.expect_usage_error(["commands", "A", "B"], "commands takes one name", "commands")
        self.expect_usage_error(["validate", "a", "b"], "validate needs the path of one plug-in",
                                "validate")
        self.expect_usage_error(["repl", "x"], "unexpected operand 'x'", "repl")
        self.expect_usage_error(["trace", "dif", "a", "b"],
                                "unknown subcommand 'trace dif'; there is 'trace diff A B'", "trace")
        self.expect_usage_error(["send", "BEEP", "--quiet"],
                                "options stand before the commands: --quiet", "send")

    def test_values_that_do_not_fit(self):
        for value in ("800", "800x", "x600", "0x600", "800x-1", "800x600x3", "axb", "40000x100",
                      "800X600", " 800x600", "800x600 "):
            self.expect_usage_error(["run", "--screen", value, "a.tav"],
                                    "--screen: must be WIDTHxHEIGHT, for example 1280x720", "run")
        for value in ("0", "-1", "x", "1s", "nan", "inf", "1e99", "1000000001"):
            self.expect_usage_error(["run", "--timeout", value, "a.tav"],
                                    
                                    "--timeout: must be a number of seconds above 0, at most "
                                    "1000000000", "run")
        self.expect(["run", "--timeout", "1e9", "-e", "print 1"], "1\n")
        for value in ("x", "-1", "65536", "80x", ""):
            self.expect_usage_error(["serve", "--port", value],
                                    "--port: must be a port number from 0 to 65535", "serve")
        for value in ("", "localhost", "example.com", "127.0.0", "127.0.0.1.2", "256.0.0.1",
                      "127.0.0.1:80", "[::1]", "http://127.0.0.1", "0.0.0.0", "::", "224.0.0.1",
                      "255.255.255.255", "::ffff:0.0.0.0",
                      "127.0.0.1,127.0.0.2", " 127.0.0.1"):
            self.expect_usage_error(
                ["serve", "--address", value],
                "--address: must be an address of this machine, for example 192.168.1.10; no name, "
                "and not one that stands for all, such as 0.0.0.0", "serve")
        self.expect_usage_error(["serve", "--address"], "--address needs a value", "serve")
        self.expect_usage_error(["serve", "--allow-crash=1"], "--allow-crash takes no value",
                                "serve")
        self.expect_usage_error(["run", "--allow-crash", "a.tav"],
                                "option '--allow-crash' is not for run, but for serve", "run")
        self.expect_usage_error(["run", "--quiet=1", "a.tav"], "--quiet takes no value", "run")
        self.expect_usage_error(["run", "--ui", "gtk", "a.tav"],
                                "--ui: must be auto, qt or headless", "run")
        for option in ("--screen", "-e"):
            self.expect_usage_error(["run", option], f"{option} needs a value", "run")


class EmptyTest(ProgramTest):
    """An empty value, as of a variable of the shell that is not set, counts as a mistake."""

    def test_options(self):
        for option in ("--answers", "--record", "--trace", "--screenshots", "--plugin", "--db",
                       "--printer"):
            for arguments in ([option, ""], [option + "="]):
                self.expect_usage_error(["run", *arguments, "-e", "print 1"],
                                        f"{option}: must not be empty", "run")
                self.expect_usage_error([*arguments, "run", "a.tav"],
                                        f"{option}: must not be empty")
        self.expect_usage_error(["run", "--dry-run=", "-e", "print 1"],
                                "--dry-run: must not be empty", "run")

    def test_names(self):
        for subcommand, *operands in (["validate", ""], ["run", ""], ["run", "", "x"],
                                      ["check", ""], ["commands", ""], ["workbench", ""],
                                      ["trace", "diff", "", "b"]):
            self.expect_usage_error([subcommand, *operands],
                                    "the name of a file or command is empty", subcommand)

    def test_what_may_be_empty(self):
        self.file("a.tav", "print args")
        self.expect(["run", "a.tav", ""], '("")\n')
        self.expect(["run", "-e", "print args", ""], '("")\n')
        self.expect(["run", "-e", ""])
        self.expect(["send", ""])


class PlaceTest(ProgramTest):
    """What names a place that cannot be."""

    def test_the_folder_of_the_database_area(self):
        self.file("file", "")
        for folder, message in (("/no/such", "there is no folder /no"),
                                ("no/such/", "there is no folder no"),
                                ("file", "file is no folder"),
                                ("file/area", "there is no folder file")):
            for subcommand in (["run", "-e", "print 1"], ["send", "GET_CWD"], ["repl"], ["serve"]):
                self.expect(["--db", folder, *subcommand], err=f"tavhost: --db: {message}\n", code=2)

    def test_a_folder_that_can_be_made(self):
        text = 'FWRITE file:"db:\\\\a.txt" text:"x" -> r\nprint r.ecode'
        for folder in ("area", "./area", "other/", f"{self.folder}/third"):
            self.expect(["--db", folder, "run", "-e", text], "0\n")
            self.assertTrue((self.folder / folder / "0" / "a.txt").is_file())

    def test_a_plug_in_that_is_not_there(self):
        for path in ("/no/such", ".", "no.so"):
            result = self.run_program("--plugin", path, "run", "-e", "print 1")
            self.assertEqual((result.out, result.code), ("", 4), result)
            self.assertRegex(result.err, f'^tavhost: plug-in "{path}" cannot be read: .+\n$')

    def test_without_a_working_folder(self):
        (self.folder / "gone").mkdir()
        result = self.run_program("validate", "x.so", preexec_fn=lambda: (
            os.chdir("gone"), os.rmdir(self.folder / "gone")))
        self.assertEqual(result.code, 2, result)

    def test_a_plugin_to_validate_that_cannot_be_read(self):
        (self.folder / "folder").mkdir()
        for path in ("none.so", "folder"):
            for more in ([], ["--json"]):
                result = self.run_program("validate", path, *more)
                self.assertEqual((result.out, result.code), ("", 2), result)
                self.assertRegex(result.err, f'^tavhost: plug-in "{path}" cannot be read: .+\n$')
        self.file("a.so", "no library")
        result = self.run_program("validate", "a.so")
        self.assertEqual((result.err, result.code), ("", 1), result)


class PlacementTest(ProgramTest):
    SIZE = "GET_DISPLAY_SIZE\nprint w, h, args\n"

    def test_options_before_and_behind_the_subcommand(self):
        self.file("a.tav", self.SIZE)
        self.expect(["--screen", "800x600", "run", "a.tav"], "800 600 ()\n")
        self.expect(["run", "--screen", "800x600", "a.tav"], "800 600 ()\n")
        self.expect(["run", "--screen=800x600", "a.tav"], "800 600 ()\n")
        self.expect(["--quiet", "run", "--screen", "800x600", "a.tav"], "800 600 ()\n")

    def test_options_of_one_subcommand_before_its_name(self):
        self.file("a.tav", "nothing()\n")
        self.expect(["-e", "print 1", "run"], "1\n")
        self.expect(["-eprint 1", "--quiet", "run", "-e", "print args", "x"], '1\n("x")\n')
        behind = self.run_program("check", "a.tav", "--json")
        self.assertEqual(behind.code, 1, behind)
        before = self.run_program("--json", "check", "a.tav")
        self.assertEqual((before.out, before.code), (behind.out, behind.code))
        self.assertIn("--port", self.run_program("--port", "0", "serve", "--help").out)
        self.expect_usage_error(["--port", "x", "serve"],
                                "--port: must be a port number from 0 to 65535")
        self.expect_usage_error(["--json", "run", "a.tav"],
                                "option '--json' is not for run, but for check, commands and "
                                "validate", "run")
        self.expect_usage_error(["--port", "0"],
                                "option '--port' is not for the workbench, but for serve")

    def test_the_last_one_counts(self):
        self.file("a.tav", self.SIZE)
        self.expect(["--screen", "800x600", "run", "--screen", "100x50", "a.tav"], "100 50 ()\n")
        self.expect(["run", "--screen", "800x600", "--screen", "10x5", "a.tav"], "10 5 ()\n")

    def test_an_option_behind_a_script_without_arguments_is_noted(self):
        self.file("a.tav", 'FWRITE file:"x" text:"done"\n')
        self.file("args.tav", "print args\n")
        self.file("more.tav", 'include "args.tav"\n')
        for option in ("--dry-run", "--dry-run=json", "--timeout", "--version"):
            self.expect(["run", "a.tav", "x", option], err=(
                f"tavhost: note: {option} stands behind the script and is its argument, not an "
                "option of tavhost\n"))
        for arguments in (["a.tav", "--dry-runs"], ["a.tav", "--port=1"], ["--quiet", "a.tav",
                          "--timeout"], ["a.tav", "dry-run"]):
            self.expect(["run", *arguments])
        # Without it the script writes and deletes: whoever is quiet is told as well.
        for option in ("--dry-run", "--dry-run=json"):
            self.expect(["--quiet", "run", "a.tav", "--timeout", option], err=(
                f"tavhost: note: {option} stands behind the script and is its argument, not an "
                "option of tavhost\n"))
        for script in ("args.tav", "more.tav"):
            self.expect(["run", script, "--dry-run"], '("--dry-run")\n')

    def test_everything_behind_the_script_is_the_scripts(self):
        self.file("a.tav", self.SIZE)
        self.expect(["run", "a.tav", "--screen", "800x600", "-e", "--", "-", ""],
                    '1920 1080 ("--screen", "800x600", "-e", "--", "-", "")\n')

    def test_two_dashes_end_the_options(self):
        self.file("--quiet", "print args")
        self.file("a.tav", "print args")
        self.expect(["run", "--", "--quiet", "--", "x"], '("--", "x")\n')
        self.expect(["run", "--quiet", "--", "a.tav", "-x"], '("-x")\n')

    def test_arguments_arrive_byte_for_byte(self):
        self.file("a.tav", "for a in args { print a }")
        arguments = ["two words", "quote\"s", "back\\slash", "tab\there", "\u00e4\u20ac\U0001F600",
                     "[1,2]", "{x}", "*", "'"]
        self.expect(["run", "a.tav", *arguments], "".join(a + "\n" for a in arguments))

    def test_option_values_are_taken_as_they_are(self):
        self.expect(["run", "-e", 'print "[a,b]", args', "[c,d]"], '[a,b] ("[c,d]")\n')
        self.expect(["run", "--printer", "[a,b]", "-e", "GET_PRINTER_INFO; print name"],
                    "[a,b]\n")


if __name__ == "__main__":
    unittest.main()
