#include <cxxabi.h>

namespace {

// What the language keeps for exceptions in each thread comes with the module. Otherwise it is
// asked for when the first one is thrown, perhaps for want of memory, and ends the program when it
// cannot be had.
[[maybe_unused]] const void* volatile room = abi::__cxa_get_globals();

}  // namespace
