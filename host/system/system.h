#pragma once

#include "host/base/size.h"
#include "host/export.h"

namespace SV {

class TAV_HOST_API System {
 public:
  static Size GetScreenSizePixel();
};

}  // namespace SV
