#pragma once

#include <string>

namespace loader {

// Why the file at `path` cannot be a library of this machine; empty when nothing speaks against
// it. Looks at the file only: a library that is cut short would take the process down while it is
// loaded.
std::string FindFaultOfLibraryFile(const std::string& path);

}  // namespace loader
