#include "tavhost/base/file_names.h"

#include "tavhost/base/ascii.h"

namespace file_names {

bool MatchesWildcard(std::string_view name, std::string_view pattern) {
  if (pattern == "*" || pattern == "*.*") return true;
  std::size_t at = 0;
  std::size_t read = 0;
  // Where to go on when what stands behind the last star does not fit: the star takes one more.
  std::size_t star = std::string_view::npos;
  std::size_t starTook = 0;
  while (at < name.size()) {
    if (read < pattern.size() && pattern[read] == '*') {
      star = read++;
      starTook = at;
    } else if (read < pattern.size() &&
               (pattern[read] == '?' || ascii::EqualIgnoringCase(pattern[read], name[at]))) {
      ++read;
      ++at;
    } else if (star != std::string_view::npos) {
      read = star + 1;
      at = ++starTook;
    } else {
      return false;
    }
  }
  while (read < pattern.size() && pattern[read] == '*') ++read;
  return read == pattern.size();
}

}  // namespace file_names
