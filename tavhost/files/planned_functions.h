#pragma once

#include <string>

#include "tavhost/files/planned_files.h"

// The functions of the system for files, over planned files instead of the disk, and how plug-ins
// come to call them.
namespace planned_functions {

// How the command that runs uses them.
struct Command {
  bool isOfTrees = false;     // COPY_FILES, MOVE_FILES, DELETE_FILES
  bool fillsFolders = false;  // it goes on in directories that are there already
  bool isRefused = false;     // it has been told already why it fails
};

// From now on plug-ins get the functions over `files`; null ends that.
void Use(PlannedFiles* files);
PlannedFiles* Files();
void SetCommand(Command command);

// Hands them to the module at this path too. Needed for each plug-in where the system's own
// functions would be called.
void ReplaceIn(const std::string& modulePath);

}  // namespace planned_functions
