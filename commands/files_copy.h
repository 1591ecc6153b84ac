#pragma once

#include "commands/support/long_command.h"
#include "host/windows/windows.h"

namespace commands {

// CopyFileA, in the middle of which events are let through and a stop ends the command, as between
// two files.
BOOL CopyFileInSteps(const char* from, const char* to, BOOL failIfExists, LongCommand& command);

}  // namespace commands
