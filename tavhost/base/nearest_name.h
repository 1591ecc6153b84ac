#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace base {

// The candidate that differs least from `name`, for "did you mean": at most a third of its letters
// (at least one) may be wrong, missing, doubled or swapped, without regard to case. Empty when
// there is none.
std::string NearestName(std::string_view name, const std::vector<std::string_view>& candidates);

}  // namespace base
