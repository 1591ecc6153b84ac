#include "tavhost/base/stop.h"

#include "tavhost/base/event_loop.h"

namespace stop {

std::atomic<int> requested{0};

void Request(Reason reason) noexcept {
  int none = 0;
  requested.compare_exchange_strong(none, static_cast<int>(reason), std::memory_order_relaxed);
  event_loop::WakeUp();
}

Reason Requested() noexcept {
  return static_cast<Reason>(requested.load(std::memory_order_relaxed));
}

void Clear() noexcept { requested.store(0, std::memory_order_relaxed); }

}  // namespace stop
