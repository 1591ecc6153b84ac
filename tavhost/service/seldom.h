#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <utility>

namespace script::service {

// Of something that happens again and again, tells when it is worth a line: at first, and then at
// most once a minute.
class Seldom {
 public:
  using Clock = std::chrono::steady_clock;

  // It has happened. How often it has since the last line, this time included, when it is time for
  // one.
  std::optional<std::uint64_t> Happened(Clock::time_point now) {
    constexpr auto kBetween = std::chrono::minutes(1);
    ++count_;
    if (told_ && now - *told_ < kBetween) return std::nullopt;
    told_ = now;
    return std::exchange(count_, 0);
  }

 private:
  std::uint64_t count_ = 0;
  std::optional<Clock::time_point> told_;
};

}  // namespace script::service
