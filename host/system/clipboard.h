#pragma once

#include "host/base/forward.h"
#include "host/export.h"

namespace SV {

// The system's clipboard, for text.
class TAV_HOST_API Clipboard {
 public:
  static void Clear();
  static int CopyString(const String& text);  // non-zero when the text was taken
};

}  // namespace SV
