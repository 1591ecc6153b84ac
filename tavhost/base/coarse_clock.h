#pragma once

#include <cstdint>

namespace base {

// Milliseconds since some moment in the past, on a clock that never goes back. Reading it is cheap
// enough to be done around every command; in return it advances in steps of up to 16 ms. Wraps
// around after 2^32.
std::uint32_t CoarseMilliseconds() noexcept;

}  // namespace base
