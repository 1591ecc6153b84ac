#pragma once

#include "host/export.h"

// What one run of a script needs beside its variables. This host needs nothing.
class TAV_HOST_API TavScriptRuntime {
 public:
  TavScriptRuntime();
  TavScriptRuntime(const TavScriptRuntime&) = delete;
  TavScriptRuntime& operator=(const TavScriptRuntime&) = delete;
  virtual ~TavScriptRuntime();
};
