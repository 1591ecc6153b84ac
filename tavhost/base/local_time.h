#pragma once

#include <cstdint>

namespace base {

// By how many seconds the user's local time is ahead of UTC at the instant `seconds`, which counts
// from 1970 in UTC; negative where it is behind. 0 when the system does not know.
std::int32_t LocalOffsetAt(std::int64_t seconds);

}  // namespace base
