#include "tavhost/ui/models/percentage_window_model.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace ui {

namespace {

constexpr double kMost = 100;
constexpr std::chrono::seconds kLeastToGoBy{1};
// A thousand hours: a forecast of more says nothing, and is not made.
constexpr double kMostSeconds = 3.6e6;

double Bounded(double percentage) {
  if (!(percentage > 0)) return 0;  // NaN as well
  return std::min(percentage, kMost);
}

}  // namespace

PercentageWindowModel::PercentageWindowModel(std::string title, bool cancelButton, bool secondBar)
    : WindowModel(std::move(title)), cancelButton_(cancelButton), secondBar_(secondBar) {}

void PercentageWindowModel::SetPercentage(double percentage) { percentage_ = Bounded(percentage); }
void PercentageWindowModel::SetPercentage2(double percentage) {
  percentage2_ = Bounded(percentage);
}

void PercentageWindowModel::Cancel() {
  if (cancelButton_) cancelled_ = true;
}

bool PercentageWindowModel::Poll() {
  ++polls_;
  if (cancelFrom_ && polls_ >= *cancelFrom_) cancelled_ = true;
  if (cancelled_ && cancelledAt_ == 0) cancelledAt_ = polls_;
  return cancelled_;
}

std::chrono::seconds PercentageWindowModel::Elapsed(Clock::time_point now) const {
  return std::chrono::duration_cast<std::chrono::seconds>(now - start_);
}

std::optional<std::chrono::seconds> PercentageWindowModel::Remaining(Clock::time_point now) const {
  const std::chrono::duration<double> elapsed = now - start_;
  if (percentage_ <= 0 || elapsed < kLeastToGoBy) return std::nullopt;
  const double seconds = elapsed.count() * (kMost - percentage_) / percentage_;
  if (seconds > kMostSeconds) return std::nullopt;
  return std::chrono::seconds(std::lround(seconds));
}

std::string TimeText(std::chrono::seconds time) {
  const long long seconds = std::max<long long>(time.count(), 0);
  char text[48];
  if (seconds < 3600) {
    std::snprintf(text, sizeof text, "%lld:%02lld", seconds / 60, seconds % 60);
  } else {
    std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", seconds / 3600, seconds / 60 % 60,
                  seconds % 60);
  }
  return text;
}

}  // namespace ui
