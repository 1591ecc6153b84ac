#pragma once

#include "host/base/string.h"
#include "host/export.h"

// A printer setting: what the system calls it and how it is reached.
class TAV_HOST_API TavPrinter {
 public:
  explicit TavPrinter(const SV::String& name);

  SV::String name;
  SV::String device;
  SV::String port;
  SV::String driver;
};

// The current printer; with `create`, made from the system's default one when there is none yet.
// Owned by the host; null when there is no printer.
TAV_HOST_API TavPrinter* Tav_GetPrinter(bool create);
// Makes `printer` the current one and takes ownership.
TAV_HOST_API void Tav_ReplacePrinter(TavPrinter* printer);
