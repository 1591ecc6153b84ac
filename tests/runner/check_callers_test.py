#!/usr/bin/env python3
"""Tests of the search for functions without a caller."""

import sys
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "scripts"))
import check_callers  # noqa: E402

HEADER = """
// Unused() is only named in a comment here.
namespace a {
class Box : public Base {
 public:
  explicit Box(int size);
  int Size() const { return Count() + other.Deep(); }
  void Unused();
  void paintEvent(Event* event) override;
  virtual void Draw() = 0;
 private:
  int Count() const;
  static int Kept();
  std::function<void(int)> done_ = nullptr;
};
int Free(int number = Default());
int Default();
}  // namespace a
"""
SOURCE = """
#define TWICE(x) (InMacro(x) + (x))
int InMacro(int x) { return x; }
const Row kRows[] = {{"row", &InTable}};
void InTable() {}
a::Box::Box(int size) : size_{Free(size)}, more_(size) { const char* text = "Unused()"; }
void a::Box::Unused() { Unused(); }
int main() { Box box(1); box.Size(); auto f = [&] { return box.Draw(); }; }
"""


def dead(*texts, outside=("main",)):
    program = check_callers.Program(outside)
    for number, text in enumerate(texts):
        program.read(f"file{number}", text)
    return [str(function) for function in program.dead()]


class CheckCallersTest(unittest.TestCase):
    def test_one_dead_function_among_living_ones(self):
        self.assertEqual(dead(HEADER, SOURCE), ["Box::Unused", "Box::Kept"])

    def test_the_place_is_the_declaration(self):
        program = check_callers.Program(("main",))
        program.read("box.h", HEADER)
        program.read("box.cpp", SOURCE)
        self.assertEqual(program.dead()[0].places, [("box.h", 8), ("box.cpp", 7)])

    def test_what_only_the_dead_call_is_dead(self):
        self.assertEqual(dead("int A() { return B(); }\nint B() { return A(); }\nint main() {}"),
                         ["A", "B"])
        self.assertEqual(dead("int A() { return B(); }\nint B();\nint main() { A(); }"), [])

    def test_members_are_told_from_free_functions(self):
        text = """struct X { int Go(); static int Stay(); };
            namespace n { int Go(); int Stay(); }
            int main() { %s }"""
        self.assertEqual(dead(text % "x.Go(); X::Stay();"), ["n::Go", "n::Stay"])
        self.assertEqual(dead(text % "n::Go(); Stay();"), ["X::Go", "X::Stay"])

    def test_a_type_is_no_call(self):
        text = "struct Check {}; namespace n { int Check(); }\nint main() { %s }"
        self.assertEqual(dead(text % "Check one; std::vector<Check> all;"), ["n::Check"])
        self.assertEqual(dead(text % "std::thread(Check);"), [])

    def test_overrides(self):
        text = """struct Base { virtual void Tell() = 0; };
            struct Own : Base { void Tell() override { Helper(); } void show() override; };
            void Helper() {}
            int main() { %s }"""
        self.assertEqual(dead(text % ""), ["Base::Tell", "Own::Tell", "Helper"])
        self.assertEqual(dead(text % "base->Tell();"), [])

    def test_the_sources_as_they_are(self):
        self.assertGreater(len(check_callers.sources(check_callers.ROOT)), 100)


if __name__ == "__main__":
    unittest.main()
