#pragma once

#include <string_view>

#include "host/base/string.h"

namespace base {

// A copy of the text, any byte allowed. Throws std::length_error beyond SV::String::kMaxLength.
inline SV::String StringOf(std::string_view text) {
  return SV::String(text.data(), static_cast<long>(text.size()));
}

}  // namespace base
