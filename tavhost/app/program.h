#pragma once

#include <string>
#include <vector>

namespace app {

// The whole program: from its arguments, as UTF-8 and without its name, to its exit code.
int RunProgram(const std::vector<std::string>& arguments);

}  // namespace app
