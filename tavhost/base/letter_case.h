#pragma once

#include "host/base/string.h"

namespace base {

// Capital and small letters of UTF-8 text: Latin, Greek and Cyrillic, letter by letter. What has
// no single counterpart stays as it is.
SV::String ToUpperCase(const SV::String& text);
SV::String ToLowerCase(const SV::String& text);

}  // namespace base
