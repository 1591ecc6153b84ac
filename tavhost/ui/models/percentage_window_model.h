#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "host/export.h"
#include "tavhost/ui/models/window_model.h"

namespace ui {

// How far some work has come: one or two bars, a message line for each, and whether the user wants
// it to end.
class TAV_HOST_API PercentageWindowModel final : public WindowModel {
 public:
  using Clock = std::chrono::steady_clock;

  PercentageWindowModel(std::string title, bool cancelButton, bool secondBar);

  WindowContent Content() const override { return WindowContent::kProgress; }

  bool HasCancelButton() const { return cancelButton_; }
  bool HasSecondBar() const { return secondBar_; }

  double Percentage() const { return percentage_; }
  double Percentage2() const { return percentage2_; }
  void SetPercentage(double percentage);
  void SetPercentage2(double percentage);

  // By the user. Nothing without a cancel button.
  void Cancel();
  bool IsCancelled() const { return cancelled_; }
  // The script asks. With `CancelFrom(n)` the n-th time and all later ones find it cancelled.
  bool Poll();
  void CancelFrom(long poll) { cancelFrom_ = poll; }
  long Polls() const { return polls_; }
  // The first time that it was found cancelled, 0: never.
  long CancelledAt() const { return cancelledAt_; }

  // Since the window was made.
  std::chrono::seconds Elapsed(Clock::time_point now) const;
  // By the pace so far; empty while there is nothing to go by.
  std::optional<std::chrono::seconds> Remaining(Clock::time_point now) const;

  std::string message;
  std::string message2;

 private:
  const bool cancelButton_;
  const bool secondBar_;
  double percentage_ = 0;
  double percentage2_ = 0;
  bool cancelled_ = false;
  std::optional<long> cancelFrom_;
  long polls_ = 0;
  long cancelledAt_ = 0;
  const Clock::time_point start_ = Clock::now();
};

// A time as a user reads it: "0:07", "12:34", "1:02:03".
TAV_HOST_API std::string TimeText(std::chrono::seconds time);

}  // namespace ui
