#pragma once

#include "host/export.h"
#include "host/sv/size.h"

namespace SV {

class TAV_HOST_API System {
 public:
  static Size GetScreenSizePixel();
};

}  // namespace SV
