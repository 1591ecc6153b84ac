// A plug-in whose commands end the program, each in another way; and one that throws, which does
// not.
#include <cstdlib>
#include <stdexcept>

#include "tests/plugins/table_plugin.h"

namespace {

volatile int* volatile nowhere = nullptr;

void WriteNowhere(const char*, TavKelParser&, TavScriptResult&) { *nowhere = 1; }

void Abort(const char*, TavKelParser&, TavScriptResult&) { std::abort(); }

void Divide(const char*, TavKelParser&, TavScriptResult&) {
  volatile int zero = 0;
  volatile int quotient = 1000 / zero;
  static_cast<void>(quotient);
}

// Calls itself by way of a variable, so that no compiler sees that it never ends.
int Recurse(int depth);
int (*volatile recurse)(int) = Recurse;
int Recurse(int depth) {
  volatile char frame[1024];
  frame[0] = static_cast<char>(depth);
  return recurse(depth + 1) + frame[0];
}
void OverflowStack(const char*, TavKelParser&, TavScriptResult&) { recurse(0); }

void Throw(const char*, TavKelParser&, TavScriptResult&) { throw std::runtime_error("no good"); }
void ThrowNumber(const char*, TavKelParser&, TavScriptResult&) { throw 3; }

void Exit(const char*, TavKelParser&, TavScriptResult&) { std::exit(0); }

}  // namespace

const TavMessagePortCommand kTable[] = {
    {"WRITE_NOWHERE", WriteNowhere},   {"ABORT", Abort},   {"DIVIDE", Divide},
    {"OVERFLOW_STACK", OverflowStack}, {"EXIT", Exit},     {"THROW", Throw},
    {"THROW_NUMBER", ThrowNumber},     {nullptr, nullptr},
};
