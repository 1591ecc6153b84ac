#pragma once

#include <cstddef>
#include <cstdint>
#include <new>

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

  // Null is as bad as std::bad_alloc: the command ends as the script error that there is no memory.
  static void* operator new(std::size_t size, const std::nothrow_t&) noexcept;
  static void* operator new(std::size_t size);
  static void operator delete(void* memory) noexcept;
  static void operator delete(void* memory, const std::nothrow_t&) noexcept;

 private:
  ui::PercentageWindowModel& Progress();
};
