"""tavhost send: commands as messages, replies as text."""

import socket
import unittest

from program import ProgramTest


class SendTest(ProgramTest):
    def test_a_reply_a_line_with_its_leading_blank(self):
        self.expect(["send", "GET_DISPLAY_SIZE"], " w:1920 h:1080\n")
        self.expect(["send", 'SET_PRINTER name:"a b"', "GET_PRINTER_INFO"],
                    ' ecode:0\n name:"a b" device:"" port:"" driver:"" valid:1 ecode:0\n')

    def test_an_empty_reply_is_an_empty_line(self):
        self.expect(["send", "SLEEP ms:0", "BEEP freq:1 ms:1"], "\n\n")

    def test_each_element_is_a_command_of_its_own(self):
        self.expect(["send", "SLEEP ms:0; GET_DISPLAY_SIZE\n SLEEP ms:0"],
                    "\n w:1920 h:1080\n\n")
        self.expect(["send", ""], "")

    def test_standard_input(self):
        commands = "# two commands\nGET_DISPLAY_SIZE\n\nSET_PRINTER \\\n name:\"x\"\n"
        self.expect(["send", "-"], " w:1920 h:1080\n ecode:0\n", stdin=commands)
        self.expect(["send", "SLEEP ms:0", "-"], "\n ecode:0\n", stdin='SET_PRINTER name:"x"')
        self.expect(["send", "-"], "", stdin="")

    def test_it_is_plain_notation(self):
        # In a script the parentheses would be an expression, here they make a list.
        result = self.run_program("send", 'COPY_TO_CLIPBOARD ("a")')
        self.assertEqual((result.out, result.code), (" ecode:0\n", 0), result)
        result = self.run_program("send", "SLEEP ms:(1)")
        self.assertEqual(
            (result.out, result.code),
            (' error:"SLEEP: parameter \\"ms\\" must be an integer, not a list"\n', 1), result)

    def test_errors_are_replies_and_the_rest_is_still_sent(self):
        result = self.run_program("send", "SLEEP", "FOO", "BEEEP", "GET_DISPLAY_SIZE")
        self.assertEqual(result.code, 1)
        self.assertEqual(result.out.split("\n"), [
            ' error:"SLEEP: parameter \\"ms\\" is missing"',
            ' error:"unknown command \\"FOO\\" on port \\"TavScript\\""',
            ' error:"unknown command \\"BEEEP\\" on port \\"TavScript\\"; did you mean'
            ' \\"BEEP\\"?"',
            " w:1920 h:1080", ""])
        self.assertEqual(result.err, "")

    def test_text_that_does_not_parse_sends_nothing(self):
        result = self.run_program("send", "GET_DISPLAY_SIZE", 'INFOBOX "x')
        self.assertEqual((result.out, result.code), ("", 2), result)
        self.assertRegex(result.err, r"^command 2:1:\d+: error: ")
        result = self.run_program("send", "-", stdin="SLEEP ms:0\nSLEEP ms:\n")
        self.assertEqual((result.out, result.code), ("", 2), result)
        self.assertRegex(result.err, r"^<stdin>:2:\d+: error: ")

    def test_dialogs(self):
        self.expect(["send", "--answers", "cancel", 'QUERYBOX "x" yes-no'],
                    ' endbutton:"cancel"\n')
        result = self.run_program("send", "SLEEP ms:0", 'INFOBOX "x"', "GET_DISPLAY_SIZE")
        self.assertEqual((result.out, result.code), ("\n", 3), result)

    def test_a_stop_that_the_last_command_answers_to(self):
        """What a command waits for may end it by its own results, and the stop be lost with them."""
        with socket.create_server(("127.0.0.1", 0)) as silent:
            url = f"http://127.0.0.1:{silent.getsockname()[1]}/"
            for command, name in (('EXECUTE "while 1 {}"', "EXECUTE"),
                                  ('EXECUTE "SLEEP ms:9000"', "EXECUTE"),
                                  (f'HTTP_REQUEST "{url}"', "HTTP_REQUEST")):
                with self.subTest(command):
                    result = self.run_program("--timeout", "0.3", "send", "SLEEP ms:0", command)
                    self.assertEqual((result.code, result.out, result.err), (
                        124, "\n",
                        f"tavhost: stopped after 0.3 s (--timeout) at command 2 ({name})\n"))
        result = self.run_program("send", 'EXECUTE "INFOBOX \\"a\\""')
        self.assertEqual((result.out, result.code), ("", 3), result)

    def test_no_end_of_script_between_the_commands(self):
        result = self.run_program("send", "--trace", "-", "SLEEP ms:0", "SLEEP ms:0")
        self.assertNotIn("INTERNAL_TAVSCRIPT_FINISHED", result.err)
        self.assertEqual(result.err.count("Reschedule(31)"), 2, result)


if __name__ == "__main__":
    unittest.main()
