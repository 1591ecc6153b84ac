#pragma once

#include <chrono>
#include <cstdint>

#include "tavhost/http/http_transport.h"

namespace http {

// The limits of one attempt, kept by the clock: no HTTP library keeps all of them. The transport
// tells how far it has come.
class Watch {
 public:
  using Clock = std::chrono::steady_clock;
  enum class Phase { kResolving, kConnecting, kSending, kReceiving };

  Watch(const Timeouts& timeouts, Clock::time_point now);

  const Timeouts& Limits() const { return timeouts_; }

  // Another exchange of the same attempt: the phases begin anew, the whole goes on.
  void BeginExchange(Clock::time_point now);
  // Phases only go forward; an earlier one than the present is ignored.
  void Enter(Phase phase, Clock::time_point now);
  // Something came from the server.
  void Received(Clock::time_point now) { latest_ = now; }
  // To be asked at short intervals: time in a phase without a limit does not count for the whole.
  bool IsOver(Clock::time_point now);

 private:
  std::uint32_t LimitOf(Phase phase) const;

  Timeouts timeouts_;
  std::uint64_t whole_;
  Clock::time_point begin_;  // of the whole, moved on by the time that does not count
  Clock::time_point asked_;
  Clock::time_point latest_;  // what the present phase's limit counts from
  Phase phase_ = Phase::kResolving;
};

}  // namespace http
