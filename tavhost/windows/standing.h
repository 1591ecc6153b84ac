#pragma once

#include <cstddef>

#include "host/windows/types.h"

namespace windows {

// What Tav_StandAt was told last.
struct Standing {
  HANDLE search = nullptr;  // null: nothing holds
  const char* source = nullptr;
  std::size_t sourceLength = 0;
  const char* target = nullptr;
  std::size_t targetLength = 0;
};

inline Standing standing;

}  // namespace windows
