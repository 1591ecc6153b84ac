#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "tavhost/base/coarse_clock.h"
#include "tavhost/base/stop.h"

namespace base {

// One operation of the host that can take long: a copy, a walk through a tree. Made where the
// operation begins, and told in each round of its loop how far it is:
//
//   base::LongWork work("Copying", name);
//   while (...) {
//     work.At(copied, size);     // throws stop::Stopped when a stop is asked for
//     ...
//
// Windows paint while it goes on, a stop is seen, and once it has taken more than a second a person
// is told what it does and how far it is. A round costs a look at a coarse clock and nothing else
// before that; it should take well below 50 ms. Operations inside each other are told of together,
// the outer one first: "Copying files: 3 of 17, Copying big.iso: 1.2 GB of 9.8 GB, 12%".
//
// On the user-interface thread only. Painting lets the workbench's Stop through, and nothing else
// that could reach the operation from inside its loop.
class LongWork {
 public:
  enum class Unit : std::uint8_t { kBytes, kThings };

  using Clock = std::uint32_t (*)() noexcept;  // milliseconds

  // "Copying", and what: a file's name as it is, empty for nothing more to say. Both texts stay
  // where they are while it lives; nothing is copied before somebody is told.
  explicit LongWork(std::string_view does, std::string_view what = {}, Unit unit = Unit::kBytes,
                    Clock clock = CoarseMilliseconds) noexcept;
  LongWork(const LongWork&) = delete;
  LongWork& operator=(const LongWork&) = delete;
  ~LongWork();

  // How far it is: `done` of `total`, 0 when that is not known. False when a stop is asked for: for
  // loops that have something to put right before they end.
  [[nodiscard]] bool GoesOn(std::uint64_t done, std::uint64_t total = 0) {
    done_ = done;
    total_ = total;
    if (stop::IsRequested()) return false;
    const std::uint32_t now = clock_();
    if (now - seen_ < kEvery) [[likely]]
      return true;
    return Look(now);
  }
  // Likewise; throws stop::Stopped.
  void At(std::uint64_t done, std::uint64_t total = 0) {
    if (!GoesOn(done, total)) throw stop::Stopped();
  }

  // What it is at now, in a loop over several things.
  void Now(std::string_view what) noexcept { what_ = what; }

 private:
  // Milliseconds between two times that windows paint; with the steps of the coarse clock it stays
  // below 50.
  static constexpr std::uint32_t kEvery = 30;

  bool Look(std::uint32_t now);
  std::string Text() const;

  const std::string_view does_;
  std::string_view what_;
  const Unit unit_;
  const Clock clock_;
  LongWork* const outer_;  // around this one; null: none
  std::uint64_t done_ = 0;
  std::uint64_t total_ = 0;
  std::uint32_t begun_;  // of the outermost
  std::uint32_t seen_;   // when windows painted last
};

// Takes the line about what goes on, over and over; an empty one when it has ended.
using ShowLongWork = std::function<void(std::string_view line)>;

// Where the line goes; empty: nowhere. Returns what was set before.
ShowLongWork SetLongWorkShown(ShowLongWork show);

}  // namespace base
