#include "tavhost/base/stop.h"

#include "tavhost/base/event_loop.h"

namespace stop {

std::atomic<int> requested{0};

namespace {

std::atomic<int> watched{0};  // a Reason
Watch watch;

void EndWatch() noexcept {
  if (watched.exchange(0) != 0 && watch.end) watch.end();
}

}  // namespace

void Request(Reason reason) noexcept {
  int none = 0;
  if (requested.compare_exchange_strong(none, static_cast<int>(reason))) {
    watched = static_cast<int>(reason);
    if (watch.begin) watch.begin();
  }
  event_loop::WakeUp();
}

Reason Requested() noexcept {
  return static_cast<Reason>(requested.load(std::memory_order_relaxed));
}

void Clear() noexcept {
  requested = 0;
  EndWatch();
}

CleanUp::CleanUp() noexcept { requested = 0; }

CleanUp::~CleanUp() {
  if (!IsRequested()) EndWatch();
}

void SetWatch(const Watch& newWatch) noexcept { watch = newWatch; }

Reason Watched() noexcept { return static_cast<Reason>(watched.load()); }

}  // namespace stop
