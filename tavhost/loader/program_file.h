#pragma once

#include <string>

namespace loader {

// Where plug-ins lie, seen from the program's folder, and how their names end.
extern const char* const kPluginFolderFromProgram;
extern const char* const kLibraryExtension;

// The file that this process runs, UTF-8.
std::string ProgramPath();

}  // namespace loader
