#pragma once

#include <string>

#include "tavhost/windows/file_functions.h"

namespace planned_functions {

inline constexpr const char* kUnnameable = "no path leads to what has this name";

void ReplaceInModule(const std::string& path, const windows::FileFunctions& functions);

}  // namespace planned_functions
