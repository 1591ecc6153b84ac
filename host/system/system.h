#pragma once

#include "host/export.h"
#include "host/base/size.h"

namespace SV {

class TAV_HOST_API System {
 public:
  static Size GetScreenSizePixel();
};

}  // namespace SV
