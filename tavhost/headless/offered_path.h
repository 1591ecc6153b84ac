#pragma once

#include <string>
#include <vector>

#include "tavhost/ui/models/file_dialog_model.h"

namespace ui {

// What Enter chooses in a file dialog as it is shown: the whole path of the name that the script
// offers. Empty when it offers none.
std::vector<std::string> OfferedPaths(const FileDialogModel& files);

// What somebody chooses who writes this name: it counts from the folder that the script gives, and
// gets the script's extension when it has none. Without such a folder it stays as it is written.
std::string WrittenPath(const FileDialogModel& files, const std::string& name);

}  // namespace ui
