#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ui {

// A model or object that a field of a table names.
struct Reference {
  bool isModel = false;
  std::string name;
  std::string type;
  std::string version;
};

// Reads a whole field by a pattern, in which %n stands for a name, %t for a type, %v for a version
// (each at least one character, as few as will do) and %% for a percent sign; all else stands for
// itself. Empty when the field does not match or the pattern has none of the three.
std::optional<Reference> MatchReference(std::string_view pattern, std::string_view field);

}  // namespace ui
