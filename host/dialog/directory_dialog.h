#pragma once

#include "host/base/forward.h"
#include "host/export.h"
#include "host/sv/forward.h"

// Lets the user choose a directory, beginning with `path`; true when confirmed. `path` is then the
// chosen directory, and otherwise as it was.
TAV_HOST_API bool ExecuteDirectoryDialog(SV::Window* parent, SV::String& path);
