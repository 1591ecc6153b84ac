#pragma once

#include <cstdint>
#include <string_view>

#include "tavhost/notation/value.h"

namespace script {

class Engine;

// A built-in function. Its arguments are changed at will; the result is a value.
struct BuiltIn {
  const char* name;
  std::uint8_t least;  // arguments
  std::uint8_t most;
  bool changesVariable;
  kel::Value (*run)(Engine& engine, kel::Value* arguments, std::uint32_t count);
};

inline constexpr std::uint8_t kAnyNumber = 255;

extern const BuiltIn kBuiltIns[];
extern const std::uint32_t kBuiltInCount;

// Null when there is none of that name.
const BuiltIn* FindBuiltIn(std::string_view name);

}  // namespace script
