#include <windows.h>

#include "tavhost/base/coarse_clock.h"

namespace base {

std::uint32_t CoarseMilliseconds() noexcept { return static_cast<std::uint32_t>(GetTickCount64()); }

}  // namespace base
