#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "tavhost/ui/models/percentage_window_model.h"

namespace ui {

// The percentage window as one line of a terminal, written over again and again, and taken away
// with the window.
class ProgressLine {
 public:
  // Takes the line to show, without line feed; nothing takes it away.
  using Write = std::function<void(std::string_view)>;

  ProgressLine(const PercentageWindowModel& window, Write write)
      : window_(window), write_(std::move(write)) {}

  // The window has changed. Changes in quick succession show together, with the next Refresh.
  void Update();
  void Refresh();
  void Close();

 private:
  const PercentageWindowModel& window_;
  Write write_;
  bool isStale_ = false;
  std::optional<PercentageWindowModel::Clock::time_point> written_;
};

// "Sorting [####......]  42%  step 3 of 7  0:12, 0:17 left", at most `columns` characters.
std::string ProgressText(const PercentageWindowModel& window,
                         PercentageWindowModel::Clock::time_point now, std::size_t columns);

}  // namespace ui
