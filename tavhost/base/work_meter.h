#pragma once

#include <cstddef>
#include <cstdint>

namespace base {

// Who works long on a script's behalf tells it here, a piece of work at a time, so that a stop
// request and waiting events are looked at every few milliseconds. A loop over what a script made
// can take any time, and calls this in each round. On the user-interface thread only.
class WorkMeter {
 public:
  WorkMeter(const WorkMeter&) = delete;
  WorkMeter& operator=(const WorkMeter&) = delete;

  // So much work was done; a unit is about one round of a small loop. Throws stop::Stopped when the
  // script is to end: what is half done then is left as an error would leave it.
  void Did(std::size_t work) {
    Charge(work);
    PollIfDue();
  }
  void DidBytes(std::size_t bytes) { Did(bytes / kBytesAUnit); }

  // The same without looking: whoever calls this is soon followed by a call that does.
  void Charge(std::size_t work) noexcept { budget_ -= static_cast<std::int64_t>(work); }
  void ChargeBytes(std::size_t bytes) noexcept { Charge(bytes / kBytesAUnit); }
  void PollIfDue() {
    if (budget_ <= 0) [[unlikely]]
      Poll();
  }

  // Texts are taken in pieces of so many bytes, so that each costs little time and no piece much
  // of its own.
  static constexpr std::size_t kPiece = std::size_t{64} << 10;

 protected:
  WorkMeter() = default;
  ~WorkMeter() = default;

  std::int64_t budget_ = 0;  // units left until the next look

 private:
  static constexpr std::size_t kBytesAUnit = 64;  // of text that is copied or searched

  // Looks, and makes the budget anew.
  virtual void Poll() = 0;
};

}  // namespace base
