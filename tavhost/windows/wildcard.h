#pragma once

#include <string_view>

namespace windows {

// A byte as names are compared and ordered: ASCII letters in upper case.
bool HasWildcard(std::string_view pattern);

// `*` stands for any number of characters, `?` for exactly one; letters match without regard to
// case (ASCII), all else is literal. `*.*` matches every name, one without a dot included.
bool MatchesWildcard(std::string_view name, std::string_view pattern);

}  // namespace windows
