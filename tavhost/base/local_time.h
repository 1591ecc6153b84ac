#pragma once

#include <cstdint>

namespace base {

// How many seconds the user's clock is ahead of UTC at an instant, in seconds since 1970 UTC.
std::int32_t LocalOffsetAt(std::int64_t seconds);

}  // namespace base
