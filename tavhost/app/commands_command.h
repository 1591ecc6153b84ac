#pragma once

#include <string>

namespace app {

// `tavhost commands [NAME] [--json]`: lists all commands when `name` is empty, else describes one.
// Writes to standard output; an unknown name is told on standard error. Returns the exit code.
int RunCommands(const std::string& name, bool json);

}  // namespace app
