"""tavhost run: where the script comes from, its name, its exit code."""

import os
import unittest

from program import ProgramTest


class SourceTest(ProgramTest):
    def test_standard_input(self):
        self.expect(["run", "-", "a", "b"], '("a", "b")\n', stdin="print args")

    def test_text_on_the_command_line(self):
        self.expect(["run", "-e", "print args, len(args)", "x", "-y"], '("x", "-y") 2\n')
        self.expect(["run", "-e", "x = 1", "-e", "print x"], "1\n")
        self.expect(["run", "-e", ""], "")

    def test_a_file_in_another_folder(self):
        self.file("sub/a.tav", "print args")
        self.expect(["run", "sub/a.tav", "x"], '("x")\n')

    def test_a_byte_order_mark_and_line_ends_of_windows(self):
        self.file("a.tav", b"\xef\xbb\xbfprint 1\r\nprint 2\r\n")
        self.expect(["run", "a.tav"], "1\n2\n")

    def test_the_name_in_errors_is_that_of_the_command_line(self):
        self.file("sub/a.tav", "x = 1\nthrow \"no\"\n")
        for arguments, name, stdin in (
                (["./sub/a.tav"], "./sub/a.tav", ""),
                (["-"], "<stdin>", "x = 1\nthrow \"no\"\n"),
                (["-e", "x = 1\nthrow \"no\""], "<command line>", "")):
            result = self.run_program("run", *arguments, stdin=stdin)
            self.assertEqual((result.out, result.code), ("", 1))
            self.assertTrue(result.err.startswith(f"{name}:2:1: error: no\n"), result)

    def test_scripts_that_cannot_be_read(self):
        self.expect(["run", "absent.tav"], code=2,
                    err="tavhost: cannot read absent.tav: No such file or directory\n")
        (self.folder / "folder").mkdir()
        self.expect(["run", "folder"], code=2,
                    err="tavhost: cannot read folder: Is a directory\n")


class ExitCodeTest(ProgramTest):
    def test_exit_codes_of_scripts(self):
        for text, code in (("", 0), ("exit", 0), ("exit 0", 0), ("exit 7", 7), ("exit 1", 1),
                           ("exit 255", 255), ("throw 1", 1), ("print 1 +", 2), ("FOO", 1),
                           ("BEEP", 1)):
            result = self.run_program("run", "-e", text)
            self.assertEqual(result.code, code, (text, result))
            self.assertEqual(result.err == "", code in (0, 7, 255) or text == "exit 1", result)

    def test_an_exit_code_that_there_is_not(self):
        for text, number in (("exit 256", "256"), ("exit -1", "-1"), ("exit 2147483647", "2147483647")):
            self.expect(["run", "-e", f"print 1\n{text}\nprint 2"], "1\n", code=255,
                        err=f"tavhost: exit {number}: exit codes are 0 to 255; ended with 255\n")

    def test_a_parse_error_runs_nothing(self):
        result = self.run_program("run", "-e", "print 1\nprint (")
        self.assertEqual((result.out, result.code), ("", 2))
        self.assertRegex(result.err, r"^<command line>:2:\d+: error: .*\nprint \(\n *\^\n$")

    def test_dialog_without_answer(self):
        result = self.run_program("run", "-e", 'print 1\ntry { INFOBOX "x" } catch e { print 2 }')
        self.assertEqual((result.out, result.code), ("1\n", 3), result)
        self.assertIn("MESSAGE_BOX", result.err)

    def test_answers(self):
        self.file("a.kel", "MESSAGE_BOX\nMESSAGE_BOX button:no\n")
        text = 'INFOBOX "x"\nQUERYBOX "y" yes-no\nprint endbutton'
        self.expect(["run", "--answers", "a.kel", "-e", text], "no\n")
        self.expect(["run", "--answers", "accept", "-e", text], "yes\n")
        self.expect(["run", "--answers", "cancel", "-e", text], "cancel\n")

    def test_answers_left_over(self):
        self.file("a.kel", "MESSAGE_BOX\nMESSAGE_BOX\n")
        result = self.run_program("run", "--answers", "a.kel", "-e", 'INFOBOX "x"')
        self.assertEqual((result.out, result.code), ("", 3), result)
        self.assertIn("a.kel:2", result.err)
        # A script that ends by an error has a reason to leave answers.
        result = self.run_program("run", "--answers", "a.kel", "-e", "throw 1")
        self.assertEqual(result.code, 1, result)
        self.assertNotIn("a.kel", result.err)

    def test_an_answer_that_does_not_fit(self):
        self.file("a.kel", "MESSAGE_BOX button:retry\n")
        result = self.run_program("run", "--answers", "a.kel", "-e", 'INFOBOX "x"')
        self.assertEqual(result.code, 3, result)
        self.assertIn("a.kel:1", result.err)

    def test_answers_that_cannot_be_read(self):
        result = self.run_program("run", "--answers", "absent.kel", "-e", "print 1")
        self.assertEqual((result.out, result.code), ("", 2), result)
        self.assertIn("absent.kel", result.err)
        self.file("bad.kel", "MESSAGE_BOX button:(\n")
        result = self.run_program("run", "--answers", "bad.kel", "-e", "print 1")
        self.assertEqual((result.out, result.code), ("", 2), result)
        self.assertIn("bad.kel:", result.err)

    def test_recorded_answers_play_back(self):
        text = 'QUERYBOX "y" yes-no\nprint endbutton'
        self.expect(["run", "--answers", "accept", "--record", "r.kel", "-e", text], "yes\n")
        self.expect(["run", "--answers", "r.kel", "-e", text], "yes\n")

    def test_plug_ins_that_cannot_be_loaded(self):
        self.file("text.so", "no library")
        for path in ("absent.so", "./text.so"):
            result = self.run_program("run", "--plugin", path, "-e", "print 1")
            self.assertEqual((result.out, result.code), ("", 4), result)
            self.assertTrue(result.err.startswith("tavhost: "), result)
            self.assertIn(path.removeprefix("./"), result.err)

    def test_pictures_need_real_windows(self):
        result = self.run_program("run", "--ui", "headless", "--screenshots", "x", "-e", "print 1")
        self.assertEqual((result.out, result.code), ("", 2), result)


class TraceTest(ProgramTest):
    def test_trace_to_a_file_and_to_standard_error(self):
        text = 'COPY_TO_CLIPBOARD "x"'
        self.expect(["run", "--trace", "t.txt", "-e", text])
        lines = (self.folder / "t.txt").read_text()
        self.assertIn('SV::Clipboard::CopyString("x") -> 1\n', lines)
        result = self.run_program("run", "--trace", "-", "-e", text)
        self.assertEqual((result.out, result.err, result.code), ("", lines, 0))

    def test_traces_and_records_are_their_owners_alone(self):
        self.file("answers.kel", 'MESSAGE_BOX button:ok\n')
        self.run_program("run", "--trace", "t.txt", "--record", "r.kel", "--answers", "answers.kel",
                         "-e", 'INFOBOX "x"')
        for name in ("t.txt", "r.kel"):
            self.assertEqual((self.folder / name).stat().st_mode & 0o777, 0o600, name)

    def test_trace_that_cannot_be_written(self):
        result = self.run_program("run", "--trace", "no/t.txt", "-e", "print 1")
        self.assertEqual((result.out, result.code), ("", 2), result)
        self.assertIn("no/t.txt", result.err)

    def test_the_end_of_the_script_is_sent_once_however_it_ends(self):
        for text in ("print 1", "throw 1", "exit 3", 'INFOBOX "x"', "EXECUTE \"x = 1\""):
            result = self.run_program("run", "--trace", "-", "-e", text)
            self.assertEqual(result.err.count('Handle("INTERNAL_TAVSCRIPT_FINISHED"'), 1,
                             (text, result))

    def test_diff(self):
        self.file("a", "one\ntwo\nthree\n")
        self.file("b", "one\r\ntwo\r\nthree")
        self.file("c", "one\n2\nthree\n")
        self.file("d", "one\n")
        self.file("e", "")
        self.expect(["trace", "diff", "a", "a"])
        self.expect(["trace", "diff", "a", "b"])
        self.expect(["trace", "diff", "e", "e"])
        self.expect(["trace", "diff", "a", "c"], "a:2: two\nc:2: 2\n", code=1)
        self.expect(["trace", "diff", "d", "a"], "d:2: (end of the trace)\na:2: two\n", code=1)
        self.expect(["trace", "diff", "a", "d"], "a:2: two\nd:2: (end of the trace)\n", code=1)
        self.expect(["trace", "diff", "a", "e"], "a:1: one\ne:1: (end of the trace)\n", code=1)
        self.expect(["trace", "diff", "a", "absent"], code=2,
                    err="tavhost: cannot read absent: No such file or directory\n")


class EnvironmentTest(ProgramTest):
    def test_files_lie_beside_the_running_script(self):
        script = 'SET_CWD path:"/"\nFWRITE file:"out.txt" text:"x"\nprint ecode'
        for name in ("a.tav", "sub/a.tav"):
            self.file(name, script)
            result = self.run_program("run", name)
            self.assertTrue((self.folder / name).with_name("out.txt").exists(), result)
        # Without a file it is the current directory, wherever that is.
        self.expect(["run", "-e", 'SET_CWD path:"sub"\nFWRITE file:"in.txt" text:"x"'])
        self.assertTrue((self.folder / "sub/in.txt").exists())

    def test_the_database_folder(self):
        text = 'FWRITE file:"db:\\\\a.txt" text:"x"\nprint ecode\nFREAD file:"db:\\\\a.txt"\nprint text'
        self.expect(["run", "--db", "area", "-e", text], "0\nx\n")
        (stored,) = (self.folder / "area").rglob("a.txt")
        self.assertEqual(stored.read_text(), "x")

    def test_start_needs_no_home_and_no_variables(self):
        self.expect(["run", "-e", "print 1"], "1\n", env={})

    def test_a_model_window(self):
        text = "SLEEP ms:0"
        without = self.run_program("run", "--trace", "-", "-e", text).err
        with_one = self.run_program("run", "--model-window", "--trace", "-", "-e", text).err
        self.assertNotIn("UpdateAllModelWindows", without)
        self.assertIn("UpdateAllModelWindows", with_one)


if __name__ == "__main__":
    unittest.main()
