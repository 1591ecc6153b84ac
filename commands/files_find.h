#pragma once

#include "host/windows/windows.h"

namespace commands {

// FindFirstFileA for those who want no more of an entry than its name, and whether it is a
// directory or a link.
HANDLE FindTypes(const char* pattern, WIN32_FIND_DATAA* entry);

}  // namespace commands
