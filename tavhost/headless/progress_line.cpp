#include "tavhost/headless/progress_line.h"

#include <algorithm>
#include <cstdio>

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

bool ContinuesCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

// Without control characters, cut to so many characters.
std::string OneLine(std::string_view text, std::size_t columns) {
  std::string line;
  std::size_t count = 0;
  for (const char byte : text) {
    if (!ContinuesCharacter(byte) && ++count > columns) break;
    line += static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F ? ' ' : byte;
  }
  return line;
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
  return OneLine(line, columns);
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
