#include "tavhost/headless/progress_line.h"

#include <algorithm>
#include <cstdio>

#include "tavhost/base/one_line.h"

namespace ui {

namespace {

using Clock = PercentageWindowModel::Clock;

constexpr std::size_t kColumns = 79;  // a full line of the narrowest common terminal
constexpr int kBarColumns = 20;
constexpr std::chrono::milliseconds kLeastBetween{100};

std::string Bar(double percentage) {
  const auto full = static_cast<std::size_t>(percentage / 100 * kBarColumns);
  char number[16];
  std::snprintf(number, sizeof number, "%3d%%", static_cast<int>(percentage));
  return '[' + std::string(full, '#') + std::string(kBarColumns - full, '.') + "] " + number;
}

}  // namespace

std::string ProgressText(const PercentageWindowModel& window, Clock::time_point now,
                         std::size_t columns) {
  std::string line = window.Title();
  const auto add = [&line](const std::string& text) {
    if (text.empty()) return;
    if (!line.empty()) line += "  ";
    line += text;
  };
  add(Bar(window.Percentage()));
  add(window.message);
  if (window.HasSecondBar()) add(Bar(window.Percentage2()));
  add(window.message2);
  std::string times = TimeText(window.Elapsed(now));
  if (const auto remaining = window.Remaining(now)) times += ", " + TimeText(*remaining) + " left";
  add(times);
  return base::OneLine(line, columns);
}

void ProgressLine::Update() {
  isStale_ = true;
  Refresh();
}

void ProgressLine::Refresh() {
  if (!isStale_) return;
  const Clock::time_point now = Clock::now();
  if (written_ && now - *written_ < kLeastBetween) return;
  isStale_ = false;
  written_ = now;
  write_(ProgressText(window_, now, kColumns));
}

void ProgressLine::Close() {
  if (written_) write_({});
  written_.reset();
}

}  // namespace ui
