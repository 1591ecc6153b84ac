#pragma once

#include <string_view>

// Names of files and directories as scripts write them and as searches find them, on every system.
namespace file_names {

// A byte that separates names in a path.
constexpr bool IsSeparator(char byte) { return byte == '\\' || byte == '/'; }

// The directory itself or the one above it: names that only begin with a dot are ordinary ones.
constexpr bool IsDots(std::string_view name) { return name == "." || name == ".."; }

constexpr bool HasWildcard(std::string_view pattern) {
  return pattern.find_first_of("*?") != std::string_view::npos;
}

// `*` stands for any number of characters, `?` for exactly one; letters match without regard to
// case (ASCII), all else is literal. `*.*` matches every name, one without a dot included.
bool MatchesWildcard(std::string_view name, std::string_view pattern);

}  // namespace file_names
