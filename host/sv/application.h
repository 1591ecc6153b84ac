#pragma once

#include "host/export.h"
#include "host/sv/forward.h"

namespace SV {

// The one application object; lives on the user-interface thread.
class TAV_HOST_API Application {
 public:
  bool IsWait() const;  // whether the wait cursor shows
  void Wait(bool on);
  Window* GetAppWindow() const;  // the main window, null when there is none
  const Font& GetAppFont() const;
  // Handles the events that wait, once; `flags` says which kinds, 31 all of them. While a script
  // runs and a stop was asked for, the script ends here: the call does not return to its caller.
  void Reschedule(unsigned flags);
};

TAV_HOST_API Application* GetpApp();

}  // namespace SV
