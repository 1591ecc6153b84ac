#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "tavhost/notation/value.h"

namespace script {

// Which part of the instruction an error is about.
enum class Part : std::uint8_t { kWhole, kLeft, kRight };

// An error of a running script, which `catch` can catch.
struct ScriptError {
  static constexpr std::uint32_t kHere = ~std::uint32_t{0};

  explicit ScriptError(std::string text, Part where = Part::kWhole)
      : message(std::move(text)), part(where) {}

  std::string message;
  Part part;
  std::uint32_t offset = kHere;  // in the text, instead of the instruction's place
  std::string command;           // that reported it
  kel::Value thrown;             // by `throw`
};

}  // namespace script
