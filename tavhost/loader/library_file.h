#pragma once

#include <string>

#include "tavhost/base/result.h"

namespace loader {

// Fails when the file at `path` cannot be a library of this machine. Looks at the file only: a
// library that is cut short would take the process down while it is loaded.
base::Result<void> CheckLibraryFile(const std::string& path);

}  // namespace loader
