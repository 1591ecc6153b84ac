#include "tavhost/files/planned_functions_platform.h"

namespace planned_functions {

// Plug-ins call the functions of this host, which look for themselves what replaces them.
void ReplaceInModule(const std::string&, const windows::FileFunctions&) {}

}  // namespace planned_functions
