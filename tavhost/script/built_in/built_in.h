#pragma once

#include <cstdint>
#include <string_view>

#include "tavhost/notation/value.h"

namespace script {

class Engine;

// A built-in function. `run` may change its arguments, which are copies of its own; it throws
// ScriptError, and tells the engine of work that depends on the size of its arguments, in each
// round of a loop over them.
struct BuiltIn {
  const char* name;
  std::uint8_t least;    // arguments
  std::uint8_t most;     // kAnyNumber: no limit
  bool changesVariable;  // the first argument; the compiler then emits an instruction, not a call
  kel::Value (*run)(Engine& engine, kel::Value* arguments, std::uint32_t count);
};

inline constexpr std::uint8_t kAnyNumber = 255;

// In the order of the alphabet; compiled code names a function by its number here.
extern const BuiltIn kBuiltIns[];
extern const std::uint32_t kBuiltInCount;

// Null when there is none of that name.
const BuiltIn* FindBuiltIn(std::string_view name);

}  // namespace script
