#!/usr/bin/env python3
"""Runs the tests of the command line: what a script test cannot say, since it is about the program
around scripts.

    tests/cli/run.py [--tavhost PROGRAM] [--sanitized] [NAME...]     names as unittest takes them

Of a program built with sanitizers, limits of speed are only reported.
"""

import argparse
import os
import signal
import sys
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
HERE = Path(__file__).resolve().parent
ROOT = HERE.parent.parent
sys.path[:0] = [str(HERE), str(HERE.parent)]

import program  # noqa: E402


def main():
    # What the shell ignores for a command in the background, the programs here would ignore too.
    signal.signal(signal.SIGINT, signal.default_int_handler)
    parser = argparse.ArgumentParser()
    parser.add_argument("--tavhost", default=ROOT / "build/bin/tavhost", type=Path)
    parser.add_argument("--sanitized", action="store_true")
    parser.add_argument("names", nargs="*")
    options = parser.parse_args()
    if not os.access(options.tavhost, os.X_OK):
        sys.exit(f"{options.tavhost} is not there; build it first")
    os.environ["TAVHOST"] = str(options.tavhost.resolve())
    program.sanitized = options.sanitized
    loader = unittest.TestLoader()
    if options.names:
        suite = loader.loadTestsFromNames(options.names)
    else:
        suite = loader.discover(str(HERE), pattern="*_test.py")
    outcome = unittest.TextTestRunner(verbosity=0).run(suite)
    return 0 if outcome.wasSuccessful() and outcome.testsRun > 0 else 1


if __name__ == "__main__":
    sys.exit(main())
