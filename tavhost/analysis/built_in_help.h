#pragma once

#include <string_view>

namespace check {

// What a built-in function is for, in a line; docs/language.md says it in full.
struct BuiltInHelp {
  const char* name;
  const char* usage;  // how it is called
  const char* text;   // a sentence
};

// Null when there is none of that name.
const BuiltInHelp* FindBuiltInHelp(std::string_view name);

}  // namespace check
