#pragma once

#include <chrono>

#include "host/sv/application.h"

// A command that may take long, one step after the other. Between them it lets events through, so
// that windows are painted, and a stop, which the host then throws, ends it there: what was done
// stays, as when a step fails. Made when the command begins; one that is done at once lets nothing
// through.
class LongCommand {
 public:
  void BetweenSteps() {
    const auto now = Clock::now();
    if (now - last_ < kInterval) return;
    SV::GetpApp()->Reschedule(kAllEvents);
    last_ = Clock::now();
  }

 private:
  using Clock = std::chrono::steady_clock;

  static constexpr std::chrono::milliseconds kInterval{50};
  static constexpr unsigned kAllEvents = 31;

  Clock::time_point last_ = Clock::now();
};
