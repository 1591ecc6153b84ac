#pragma once

#include "host/base/size.h"
#include "host/export.h"

namespace SV {

// What the class library tells of the machine.
class TAV_HOST_API System {
 public:
  // Of the screen, or of the one that the host was told to pretend.
  static Size GetScreenSizePixel();
};

}  // namespace SV
