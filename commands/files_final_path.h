#pragma once

#include "host/base/string.h"

namespace commands {

// The one path of what stands at `path`, whatever links, spellings and relative parts lead there,
// in the system's style. Empty when nothing stands there, or when it cannot be told.
SV::String FinalPath(const SV::String& path);

// The whole path in the system's style, `.` and `..` resolved in the text; links are not looked at,
// and nothing need stand there.
SV::String PlainPath(const SV::String& path);

}  // namespace commands
