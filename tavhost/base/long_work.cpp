#include "tavhost/base/long_work.h"

#include <cstdio>
#include <iterator>
#include <new>
#include <utility>

#include "tavhost/base/event_loop.h"

namespace base {

namespace {

constexpr std::uint32_t kToldAfter = 1000;  // milliseconds; what is over by then needs no words
constexpr std::uint32_t kToldEvery = 100;

ShowLongWork shown;             // where the line goes
LongWork* innermost = nullptr;  // of those that are going on
bool isTold = false;            // a line shows now
std::uint32_t lastTold = 0;

// "640 bytes", "1.2 GB": as file managers count, in thousands.
std::string BytesText(std::uint64_t bytes) {
  constexpr const char* kUnits[] = {"bytes", "kB", "MB", "GB", "TB", "PB", "EB"};
  auto amount = static_cast<double>(bytes);
  std::size_t unit = 0;
  for (; amount >= 1000 && unit + 1 < std::size(kUnits); ++unit) amount /= 1000;
  char text[32];
  std::snprintf(text, sizeof text, unit == 0 ? "%.0f %s" : "%.1f %s", amount, kUnits[unit]);
  return text;
}

std::string AmountText(std::uint64_t amount, LongWork::Unit unit) {
  return unit == LongWork::Unit::kBytes ? BytesText(amount) : std::to_string(amount);
}

// Without memory for it a line is left out: it is a courtesy, and the work goes on.
template <typename MakeLine>
void Tell(MakeLine makeLine) noexcept {
  try {
    const std::string line = makeLine();
    isTold = !line.empty();
    if (shown) shown(line);
  } catch (const std::bad_alloc&) {
  }
}

}  // namespace

LongWork::LongWork(std::string_view does, std::string_view what, Unit unit, Clock clock) noexcept
    : does_(does),
      what_(what),
      unit_(unit),
      clock_(clock),
      outer_(std::exchange(innermost, this)),
      begun_(outer_ ? outer_->begun_ : clock()),
      seen_(outer_ ? outer_->seen_ : begun_) {}

LongWork::~LongWork() {
  innermost = outer_;
  if (outer_) {
    outer_->seen_ = seen_;
  } else if (isTold) {
    Tell([] { return std::string(); });
  }
}

bool LongWork::Look(std::uint32_t now) {
  event_loop::ProcessPainting();
  if (now - begun_ >= kToldAfter && (!isTold || now - lastTold >= kToldEvery)) {
    lastTold = now;
    Tell([this] { return Text(); });
  }
  seen_ = clock_();
  return !stop::IsRequested();
}

std::string LongWork::Text() const {
  std::string text = outer_ ? outer_->Text() + ", " : std::string();
  text += does_;
  if (!what_.empty()) text.append(" ").append(what_);
  if (done_ == 0 && total_ == 0) return text;
  text += ": " + AmountText(done_, unit_);
  if (total_ == 0) return text;
  text += " of " + AmountText(total_, unit_);
  const double share =
      done_ < total_ ? static_cast<double>(done_) / static_cast<double>(total_) : 1;
  return text + ", " + std::to_string(static_cast<int>(share * 100)) + '%';
}

ShowLongWork SetLongWorkShown(ShowLongWork show) { return std::exchange(shown, std::move(show)); }

}  // namespace base
