#pragma once

#include "host/base/forward.h"
#include "host/export.h"

// The window that the host shows while it starts.
class TAV_HOST_API TavStartupBox {
 public:
  static TavStartupBox* GetGlobal();  // the one that is showing, or null
  void SetAdditionalMessage(const SV::String& text);
};
