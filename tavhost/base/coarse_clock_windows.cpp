#include <windows.h>

#include "tavhost/base/coarse_clock.h"

namespace script {

std::uint32_t CoarseMilliseconds() noexcept { return static_cast<std::uint32_t>(GetTickCount64()); }

}  // namespace script
