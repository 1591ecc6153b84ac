#include <ctime>

#include "tavhost/base/coarse_clock.h"

namespace base {

std::uint32_t CoarseMilliseconds() noexcept {
#ifdef CLOCK_MONOTONIC_COARSE
  constexpr clockid_t kClock = CLOCK_MONOTONIC_COARSE;
#else
  constexpr clockid_t kClock = CLOCK_MONOTONIC;
#endif
  timespec now;
  clock_gettime(kClock, &now);
  return static_cast<std::uint32_t>(now.tv_sec) * 1000u +
         static_cast<std::uint32_t>(now.tv_nsec / 1'000'000);
}

}  // namespace base
