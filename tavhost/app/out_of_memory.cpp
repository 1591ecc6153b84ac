#include "tavhost/app/out_of_memory.h"

#include <cerrno>
#include <cstdlib>
#include <exception>
#include <new>

#include "tavhost/app/exit_codes.h"
#include "tavhost/base/leftover_file.h"
#include "tavhost/base/standard_write.h"

// A program for which there is no memory ends with a line that says so and the exit code of an
// error, wherever that is found out, and not by a signal: what was printed comes out before it, and
// what must not outlive the program is removed.
namespace app {

namespace {

constinit thread_local bool wasRefused = false;
std::new_handler handlerBefore = nullptr;

void NoteRefusal() {
  try {
    handlerBefore();
  } catch (const std::bad_alloc&) {
    wasRefused = true;
    throw;
  }
}

bool IsForWantOfMemory() noexcept {
  if (!std::current_exception()) {
    // On its way out of what lets nothing out; or there is not even memory for the exception.
    return (std::uncaught_exceptions() > 0 && wasRefused) || errno == ENOMEM;
  }
  try {
    throw;
  } catch (const std::bad_alloc&) {
    return true;
  } catch (...) {
  }
  return false;
}

// Where nobody can catch the exception: static objects are made or destroyed, the system's loader
// is at work, something is being destroyed.
[[noreturn]] void Terminate() noexcept {
  if (!IsForWantOfMemory()) std::abort();
  LeftoverFile::RemoveAll();
  standard_write::FlushOutputIfFree();
  standard_write::Error("tavhost: out of memory\n");
  std::_Exit(kExitScriptError);
}

struct Beginning {
  Beginning() noexcept { std::set_terminate(Terminate); }
};
// Made before the program's other static objects.
__attribute__((init_priority(101))) const Beginning beginning;

}  // namespace

void NoteRefusedMemory() noexcept { handlerBefore = std::set_new_handler(NoteRefusal); }

}  // namespace app
