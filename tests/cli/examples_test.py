"""The examples that tell about the host itself."""

import unittest
from pathlib import Path

from program import ProgramTest

EXAMPLES = Path(__file__).resolve().parent.parent.parent / "examples"


class ExamplesTest(ProgramTest):
    def example(self, name, *arguments):
        result = self.run_program("run", str(EXAMPLES / name), *arguments)
        self.assertEqual((result.err, result.code), ("", 0), result)
        return result.out

    def test_hello(self):
        size = "Your screen is 1920 by 1080 pixels.\n"
        self.assertEqual(self.example("hello.tav"), "Hello, World!\n" + size)
        self.assertEqual(self.example("hello.tav", "Ada", "Grace"),
                         "Hello, Ada!\nHello, Grace!\n" + size)

    def test_ports(self):
        lines = self.example("ports.tav").split("\n")
        self.assertEqual(lines[:2], ["TavScript: 76 commands", "  INFOBOX"])
        self.assertEqual(lines[-2], "  INTERNAL_TAVSCRIPT_FINISHED")

    def test_parts_to_xml(self):
        self.file("parts.kel", 'PART "Bolt" mass:0.5 count:2\n')
        self.assertEqual(self.example("parts_to_xml.tav", "parts.kel"),
                         "Bolt: 2 x 0.5 kg = 1.0 kg\nTotal: 1.0 kg\n"
                         '<?xml version="1.0" encoding="UTF-8"?>\n'
                         '<parts><PART value="Bolt" mass="0.5" count="2"/></parts>\n')
        self.file("other.kel", "BOLT")
        result = self.run_program("run", str(EXAMPLES / "parts_to_xml.tav"), "other.kel")
        self.assertEqual((result.out, result.code), ("", 1))
        self.assertIn("error: unexpected element BOLT\n", result.err)

    def test_demo(self):
        self.file("a.txt", "first line\nsecond\n")
        out = self.example("demo.tav", "a.txt", "absent.txt")
        for part in ("This script was given 2 files:\n",
                     "  a.txt: 18 characters in 3 lines; the first:\n    first line\n",
                     "  absent.txt: cannot be read (ecode 1)\n",
                     "Ports: TavHost, TavScript\n",
                     "TavScript takes 76 commands, from INFOBOX to INTERNAL_TAVSCRIPT_FINISHED\n",
                     "The screen has 1920 x 1080 pixels.\nIts size is on the clipboard now.\n",
                     "Waited 0.1 s: 1\n",
                     '<parts><PART value="Piston" mass="2.5" material="steel"/>',
                     "Text that is no KEL: 1 KEL parse error\n",
                     "1 + 2 + ... + 100 = 5050\n",
                     'SLEEP: parameter "ms" must be an integer, not a string\n'):
            self.assertIn(part, out)


if __name__ == "__main__":
    unittest.main()
