#include "tavhost/http/http_transport.h"

#include <chrono>

#include "tavhost/base/event_loop.h"

namespace http {

std::uint64_t WholeTime(const Timeouts& timeouts) {
  if (timeouts.send == 0 || timeouts.receive == 0) return 0;
  return std::uint64_t{timeouts.resolve} + timeouts.connect + timeouts.send + timeouts.receive;
}

void PaintWhileWaiting() {
  using Clock = std::chrono::steady_clock;
  constexpr auto kInterval = std::chrono::milliseconds(20);
  static Clock::time_point latest;
  const auto now = Clock::now();
  if (now - latest < kInterval) return;
  latest = now;
  event_loop::ProcessPainting();
}

}  // namespace http
