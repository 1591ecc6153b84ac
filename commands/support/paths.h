#pragma once

#include "host/base/string.h"

namespace paths {

// The system reads a path up to its first NUL: one that holds a NUL would mean another file.
inline bool HasNul(const SV::String& path) {
  return path.View().find('\0') != std::string_view::npos;
}

// A script's path as functions of the system take it. One with a NUL becomes the empty path, under
// which there is nothing, so that whatever is asked of the system fails.
inline const char* ForSystem(const SV::String& path) { return HasNul(path) ? "" : path.GetStr(); }

}  // namespace paths
