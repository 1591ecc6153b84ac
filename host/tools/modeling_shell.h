#pragma once

#include "host/export.h"

// The shell around the model windows; there is one only while a model window exists.
class TAV_HOST_API TavModelingShell {
 public:
  static TavModelingShell* GetGlobal();  // null when there is none
  void UpdateAllModelWindows();
};
