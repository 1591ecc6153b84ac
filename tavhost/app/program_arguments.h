#pragma once

#include <string>
#include <vector>

namespace app {

// The program's arguments without its own name, as UTF-8 on every platform.
std::vector<std::string> ProgramArguments(int count, char** arguments);

}  // namespace app
