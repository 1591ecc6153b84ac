#pragma once

#include <cstdint>

#include "host/export.h"

namespace SV {

// The machine's loudspeaker.
class TAV_HOST_API Sound {
 public:
  // A tone of `frequency` hertz for `milliseconds`; returns at once.
  static void Beep(std::uint32_t frequency, std::uint32_t milliseconds);
};

}  // namespace SV
