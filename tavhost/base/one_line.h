#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "host/export.h"

namespace base {

// A text as one line of a terminal or of a status bar: control characters are blanks, and it is cut
// to so many characters (of UTF-8).
TAV_HOST_API std::string OneLine(std::string_view text, std::size_t columns);

}  // namespace base
