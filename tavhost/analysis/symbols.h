#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/string.h"

namespace check {

enum class SymbolKind : std::uint8_t { kFunction, kParameter, kVariable };

// A name that a script gives, where it first does so.
struct Symbol {
  SymbolKind kind = SymbolKind::kVariable;
  std::string name;
  std::string function;                 // the one that it belongs to; empty for the top level
  std::string command;                  // the one whose result it is; empty for others
  std::string file;                     // an included one's name, else the script's
  std::uint32_t offset = 0;             // of the name in that file, in bytes
  std::uint32_t begin = 0;              // of a function: from `func` …
  std::uint32_t end = 0;                // … to behind its closing brace
  std::vector<std::string> parameters;  // of a function
};

// The functions and variables of a script and the files that it includes, in the order of the
// text; nothing when it does not parse.
std::optional<std::vector<Symbol>> FindSymbols(const SV::String& text, const std::string& name);

}  // namespace check
