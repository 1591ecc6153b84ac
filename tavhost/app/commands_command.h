#pragma once

#include <string>
#include <string_view>

#include "tavhost/reference/reference.h"

namespace app {

// `tavhost commands [NAME] [--json]`: lists all commands when `name` is empty, else describes one.
// Writes to standard output; an unknown name is told on standard error. Returns the exit code.
int RunCommands(const std::string& name, bool json);

// The texts that RunCommands writes for people.
std::string ListText(const reference::Catalogue& catalogue);
std::string CommandText(const reference::Command& command);

// How the command is written: its name, main value and parameters, optional ones in brackets; lines
// after the first are indented.
std::string UsageText(const reference::Command& command);

}  // namespace app
