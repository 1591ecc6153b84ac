#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include "host/sv/string.h"
#include "tavhost/script/runner.h"

namespace script {

// A script's text and name, and what stands where in it.
class Source {
 public:
  Source(SV::String text, std::string name) : text_(std::move(text)), name_(std::move(name)) {}

  std::string_view Text() const { return text_.View(); }
  const std::string& Name() const { return name_; }

  struct Place {
    std::uint32_t line = 1;    // from 1
    std::uint32_t column = 1;  // from 1, in code points
    std::string_view lineText;
  };
  Place PlaceOf(std::uint32_t offset) const;

  // The offset of a piece of this text.
  std::uint32_t OffsetOf(std::string_view part) const {
    return static_cast<std::uint32_t>(part.data() - Text().data());
  }

  // The offset of a place, `otherwise` when the text has no such place.
  std::uint32_t OffsetOf(std::int32_t line, std::int32_t column, std::uint32_t otherwise) const;

  Diagnostic Describe(std::uint32_t offset, const std::string& message) const;

 private:
  SV::String text_;
  std::string name_;
};

// A script that does not parse.
struct SyntaxError {
  std::uint32_t offset;
  std::string message;
  bool incomplete = false;
};

}  // namespace script
