#include "tavhost/http/http_watch.h"

#include <utility>

namespace http {

namespace {

bool Exceeded(Watch::Clock::duration passed, std::uint64_t limit) {
  return limit != 0 && passed > std::chrono::milliseconds(limit);
}

}  // namespace

Watch::Watch(const Timeouts& timeouts, Clock::time_point now)
    : timeouts_(timeouts), whole_(WholeTime(timeouts)), begin_(now), asked_(now), latest_(now) {}

void Watch::BeginExchange(Clock::time_point now) {
  phase_ = Phase::kResolving;
  latest_ = now;
}

void Watch::Enter(Phase phase, Clock::time_point now) {
  if (phase <= phase_) return;
  phase_ = phase;
  latest_ = now;
}

std::uint32_t Watch::LimitOf(Phase phase) const {
  switch (phase) {
    case Phase::kResolving:
      return timeouts_.resolve;
    case Phase::kConnecting:
      return timeouts_.connect;
    case Phase::kSending:
      return timeouts_.send;
    default:
      return timeouts_.receive;
  }
}

bool Watch::IsOver(Clock::time_point now) {
  const auto passed = now - std::exchange(asked_, now);
  if (Exceeded(now - latest_, LimitOf(phase_))) return true;
  // Time spent in a look-up or on connecting without a limit is not taken from the rest.
  if (phase_ <= Phase::kConnecting && LimitOf(phase_) == 0) begin_ += passed;
  return Exceeded(now - begin_, whole_);
}

}  // namespace http
