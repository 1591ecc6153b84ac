#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "tavhost/notation/value.h"

namespace script {

// Which part of the failed instruction an error is about, and is shown at: all of it, or one of its
// operands.
enum class Part : std::uint8_t { kWhole, kLeft, kRight };

// An error of a running script, which `catch` can catch.
struct ScriptError {
  static constexpr std::uint32_t kHere = ~std::uint32_t{0};

  explicit ScriptError(std::string text, Part where = Part::kWhole)
      : message(std::move(text)), part(where) {}

  std::string message;
  Part part;
  std::uint32_t offset = kHere;  // a place in the text; kHere: the one of the instruction's `part`
  std::string command;           // the command that reported the error; empty for others
  kel::Value thrown;             // the value that `throw` was given
};

}  // namespace script
