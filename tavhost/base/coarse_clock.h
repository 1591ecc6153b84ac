#pragma once

#include <cstdint>

namespace base {

// Milliseconds from some start on, cheap enough to be asked around every command; steps of up to
// 16. Wraps around.
std::uint32_t CoarseMilliseconds() noexcept;

}  // namespace base
