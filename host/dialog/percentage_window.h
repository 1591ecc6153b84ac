#pragma once

#include <cstdint>

#include "host/sv/window.h"

namespace ui {
class PercentageWindowModel;
}

// Shows how far some work has come, while it goes on.
class TAV_HOST_API TavPercentageWindow : public SV::Window {
 public:
  typedef std::uint32_t Flags;
  static constexpr Flags kCancelButton = 1;
  static constexpr Flags kSecondBar = 8;

  TavPercentageWindow(SV::Window* parent, const SV::String& title, const SV::String& second,
                      Flags flags);
  ~TavPercentageWindow() override;

  // From 0 to 100; what lies outside counts as the nearer end.
  void SetPercentage(double percentage);
  void SetPercentage2(double percentage);
  void SetCurrentMessage(const SV::String& message);
  void SetMessage2(const SV::String& message);
  bool IsCancelled();  // whether the user pressed the cancel button

 private:
  ui::PercentageWindowModel& Progress();
};
