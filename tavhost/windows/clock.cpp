#include "tavhost/windows/clock.h"

#include <chrono>
#include <cstdlib>

#include "host/windows/clock.h"
#include "tavhost/base/trace.h"

namespace {

constexpr DWORD kHeadStart = 5u * 60 * 60 * 1000;

windows_clock::TickSource tickSource = nullptr;

DWORD MonotonicMilliseconds() {
  const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<DWORD>(
      std::chrono::duration_cast<std::chrono::milliseconds>(sinceStart).count());
}

DWORD OffsetAt(DWORD now) {
  const char* start = std::getenv("TAVHOST_TICK_START");
  return start ? static_cast<DWORD>(std::strtoul(start, nullptr, 10)) - now : kHeadStart;
}

DWORD ClockTicks() {
  const DWORD now = MonotonicMilliseconds();
  static const DWORD offset = OffsetAt(now);
  return now + offset;
}

}  // namespace

namespace windows_clock {

void SetTickSource(TickSource source) { tickSource = source; }

}  // namespace windows_clock

DWORD GetTickCount() {
  trace::Call call("GetTickCount");
  return call.Result(tickSource ? tickSource() : ClockTicks());
}
