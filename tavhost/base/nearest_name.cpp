#include "tavhost/base/nearest_name.h"

#include <algorithm>
#include <cstddef>

#include "tavhost/base/ascii.h"

namespace base {

namespace {

constexpr std::size_t kLongestName = 64;  // longer ones are no slip of the finger

// Edits between two names: insertions, removals, changes, and swaps of neighbours. Row i of the
// table tells how far the first i letters of `a` are from each beginning of `b`; a row depends on
// the two above it, and only those are kept.
std::size_t Distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> before(b.size() + 1);
  std::vector<std::size_t> above(b.size() + 1);
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) above[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const bool same = ascii::EqualIgnoringCase(a[i - 1], b[j - 1]);
      row[j] = std::min({above[j] + 1, row[j - 1] + 1, above[j - 1] + (same ? 0u : 1u)});
      if (i > 1 && j > 1 && ascii::EqualIgnoringCase(a[i - 1], b[j - 2]) &&
          ascii::EqualIgnoringCase(a[i - 2], b[j - 1])) {
        row[j] = std::min(row[j], before[j - 2] + 1);
      }
    }
    before.swap(above);
    above.swap(row);
  }
  return above[b.size()];
}

}  // namespace

std::string NearestName(std::string_view name, const std::vector<std::string_view>& candidates) {
  if (name.empty() || name.size() > kLongestName) return {};
  std::size_t least = std::max<std::size_t>(1, name.size() / 3) + 1;
  std::string_view nearest;
  for (const std::string_view candidate : candidates) {
    if (candidate.size() > kLongestName) continue;
    const std::size_t distance = Distance(name, candidate);
    // With every letter changed there is nothing left that would remind of the candidate.
    if (distance < least && distance < std::max(name.size(), candidate.size())) {
      least = distance;
      nearest = candidate;
    }
  }
  return std::string(nearest);
}

}  // namespace base
