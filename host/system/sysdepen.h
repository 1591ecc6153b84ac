#pragma once

#include "host/export.h"
#include "host/sv/forward.h"
#include "host/windows/window_handle.h"

namespace SV {

// Where the class library meets the system.
class TAV_HOST_API Sysdepen {
 public:
  // The handle by which messages are sent to a window, the same as long as the window lives; null
  // for null.
  static HWND GethWnd(Window* window);
};

}  // namespace SV
