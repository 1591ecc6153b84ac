#pragma once

#include <string_view>

#include "host/base/string.h"

namespace paths {

// Bytes that a path may have: more than any system takes, so that nothing looks through a text that
// is none. Trees are as deep as this with names of the usual greatest length.
inline constexpr long kLongest = 4L << 20;

// Whether a text can be a path. The system reads one up to its first NUL: with a NUL in it, it
// would mean another file.
inline bool IsPath(const SV::String& text) {
  return text.Len() <= kLongest && text.View().find('\0') == std::string_view::npos;
}

// A script's path as functions of the system take it. What cannot be one becomes the empty path,
// under which there is nothing, so that whatever is asked of the system fails.
inline const char* ForSystem(const SV::String& path) { return IsPath(path) ? path.GetStr() : ""; }

}  // namespace paths
