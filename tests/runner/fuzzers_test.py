#!/usr/bin/env python3
"""Tests of how fuzzers are run: fixed runs depend on the tree alone, and what is found is told."""

import contextlib
import io
import sys
import tempfile
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "scripts"))
import fuzzers  # noqa: E402

# Writes down how it was called; fails when its corpus holds the word "bad".
FAKE = """#!/bin/sh
printf '%s\\n' "$@" > "$0.called"
seeds=$(sed -n 's/^-seed_inputs=@//p' "$0.called")
cat "$seeds" > "$0.seeds"
if tr ',' '\\n' < "$seeds" | xargs cat | grep -q bad; then
  echo "Test unit written to $0.crash"
  exit 77
fi
"""


class FuzzersTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.tests = Path(folder.name) / "tests"
        self.build = Path(folder.name) / "build"
        self.kept = self.tests / "fuzz/corpus/some"
        self.kept.mkdir(parents=True)
        (self.build / "bin").mkdir(parents=True)
        for name in ("b", "a", "c"):
            (self.kept / name).write_text(name)
        self.program = self.build / "bin/some_fuzz"
        self.program.write_text(FAKE)
        self.program.chmod(0o755)
        [self.fuzzer] = fuzzers.fuzzers(self.build, self.tests)

    def run_fixed(self):
        with contextlib.redirect_stdout(io.StringIO()) as out:
            quiet = fuzzers.run_fixed(self.fuzzer, self.build)
        return quiet, out.getvalue(), (self.build / "bin/some_fuzz.called").read_text().split("\n")

    def test_fixed_runs_read_the_kept_corpus_in_order_and_write_nowhere(self):
        (self.build / "found/some").mkdir(parents=True)
        (self.build / "found/some/earlier").write_text("bad")
        quiet, _, called = self.run_fixed()
        self.assertTrue(quiet)
        self.assertEqual((self.build / "bin/some_fuzz.seeds").read_text(),
                         ",".join(str(self.kept / name) for name in "abc"))
        self.assertIn(f"-seed={fuzzers.SEED}", called)
        self.assertIn(f"-runs={fuzzers.LEAST_RUNS}", called)
        self.assertFalse([part for part in called if part and not part.startswith("-")])
        self.assertFalse([part for part in called if "time" in part and "timeout" not in part])

    def test_a_finding_fails_and_is_told(self):
        (self.kept / "d").write_text("bad")
        quiet, out, _ = self.run_fixed()
        self.assertFalse(quiet)
        self.assertIn(f"the input is {self.program}.crash", out)
        self.assertIn(str(self.kept), out)

    def test_exploring_takes_a_seed_a_time_and_the_folders(self):
        found = self.build / "found/some"
        command = self.fuzzer.exploring_command(found, 600, 42)
        self.assertIn("-seed=42", command)
        self.assertIn("-max_total_time=600", command)
        self.assertEqual(command[-2:], [str(found), str(self.kept)])

    def test_each_fuzzer_of_the_tree_has_its_runs(self):
        root = Path(fuzzers.__file__).resolve().parents[1]
        sources = (root / "tests/fuzz").glob("*_fuzz.cpp")
        stems = {path.name.removesuffix("_fuzz.cpp") for path in sources}
        self.assertEqual(stems, set(fuzzers.RUNS))


if __name__ == "__main__":
    unittest.main()
