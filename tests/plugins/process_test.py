#!/usr/bin/env python3
"""The built plug-in as a file, and what its commands do to the process: what it exports, where its
table lies, that CRASH faults however it is compiled, that a stop ends a wait."""

import argparse
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1]))
import sanitizers  # noqa: E402
import waiting  # noqa: E402

ROOT = Path(__file__).resolve().parents[2]
EXPORTS = re.findall(r"^\s+(\w+)$", (ROOT / "plugin/exports.def").read_text(), re.MULTILINE)
COMMANDS = re.findall(r'^    \{"(\w+)", commands::Command_(\w+)\},$',
                      (ROOT / "plugin/command_table.cpp").read_text(), re.MULTILINE)
STOP_LIMIT = 1.0  # seconds from a stop request to the end of the process

options = None


def output_of(*command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout


def symbols(*arguments):
    """(address, name) of what nm lists."""
    for line in output_of("nm", "-C", *arguments, options.plugin).splitlines():
        match = re.match(r"([0-9a-f]+) \w (.*)$", line)
        if match:
            yield int(match[1], 16), match[2]


class FileTest(unittest.TestCase):
    def test_exports_the_eight_names_and_nothing_else(self):
        self.assertEqual(len(EXPORTS), 8)
        names = sorted(name for _, name in symbols("-D", "--defined-only"))
        self.assertEqual(names, sorted(EXPORTS))

    def test_handlers_have_addresses_of_their_own(self):
        handlers = {name for _, name in COMMANDS}
        self.assertEqual((len(COMMANDS), len(handlers)), (76, 74))
        address_of = {}
        for address, name in symbols():
            match = re.match(r"commands::Command_(\w+)\(char const\*, TavKelParser&, "
                             r"TavScriptResult&\)$", name)
            if match:
                address_of[match[1]] = address
        self.assertEqual(set(address_of), handlers)
        self.assertEqual(len(set(address_of.values())), 74)

    def test_the_table_is_read_only(self):
        sections = {number: name for number, name in re.findall(
            r"^\s*\[\s*(\d+)\] (\S+)", output_of("readelf", "-SW", options.plugin), re.MULTILINE)}
        table = re.search(r"\s+(\d+) OBJECT\s+LOCAL\s+DEFAULT\s+(\d+) \S*kCommandTable\S*$",
                          output_of("readelf", "-sW", options.plugin), re.MULTILINE)
        self.assertEqual(int(table[1]), 77 * 16)
        self.assertIn(sections[table[2]], (".rodata", ".data.rel.ro"))
        self.assertIn("GNU_RELRO", output_of("readelf", "-lW", options.plugin))


class CrashTest(unittest.TestCase):
    def run_crash(self, *more):
        return subprocess.run([options.tavhost, *more, "send", "CRASH", "GET_DISPLAY_SIZE"],
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, text=True, timeout=60,
                              env=sanitizers.environment_for_faults())

    def check_faults(self, *more):
        result = self.run_crash(*more)
        self.assertEqual(result.returncode, -signal.SIGSEGV, result.stderr)
        self.assertEqual(result.stdout, "")

    def test_faults(self):
        self.check_faults()

    def test_faults_however_it_is_compiled(self):
        text = "".join(f'#include "{source}"\n' for source in (
            "plugin/exports.cpp", "commands/support/names.cpp", "commands/support/results.cpp",
            "commands/environment.cpp", "tests/plugins/crash_only.cpp"))
        ran = 0
        with tempfile.TemporaryDirectory() as folder:
            for compiler, linker in (("g++", ()), ("clang++-14", ("-fuse-ld=lld",))):
                if not shutil.which(compiler):
                    continue
                for flags in (("-O2",), ("-O3", "-flto", *linker)):
                    with self.subTest(f"{compiler} {' '.join(flags)}"):
                        built = Path(folder) / f"{compiler}{len(flags)}.so"
                        subprocess.run(
                            [compiler, "-std=c++20", "-shared", "-fPIC", "-fvisibility=hidden",
                             *flags, f"-I{ROOT}", "-o", built, "-x", "c++", "-"],
                            input=text, text=True, check=True)
                        self.check_faults("--plugin", built)
                        ran += 1
        self.assertGreaterEqual(ran, 2)


class StopTest(unittest.TestCase):
    def seconds_to_end(self, script, number):
        process = subprocess.Popen([options.tavhost, "run", "-e", script], stdin=subprocess.DEVNULL,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        try:
            self.assertEqual(process.stdout.readline(), "ready\n")
            waiting.until_at_work(process)
            start = time.monotonic()
            process.send_signal(number)
            out, _ = process.communicate(timeout=20)
        finally:
            process.kill()
        self.assertEqual(process.returncode, 130 if number == signal.SIGINT else 143)
        self.assertEqual(out, "")
        return time.monotonic() - start

    def test_ends_a_sleep(self):
        for number in (signal.SIGINT, signal.SIGTERM):
            self.assertLess(self.seconds_to_end(
                'print "ready"\nSLEEP ms:100000\nprint "late"', number), STOP_LIMIT)

    def test_cannot_be_caught(self):
        script = 'print "ready"\ntry { SLEEP ms:100000 } catch e { print "caught" }\nprint "late"'
        self.assertLess(self.seconds_to_end(script, signal.SIGINT), STOP_LIMIT)

    def test_ends_a_sleep_in_script_text(self):
        script = 'print "ready"\nEXECUTE "SLEEP ms:100000\\nprint 1"\nprint "late"'
        self.assertLess(self.seconds_to_end(script, signal.SIGINT), STOP_LIMIT)


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--tavhost", required=True)
    parser.add_argument("--plugin", required=True)
    options, rest = parser.parse_known_args()
    unittest.main(argv=[sys.argv[0], *rest])
