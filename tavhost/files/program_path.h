#pragma once

#include <string>

// The folder of the running script, in which relative file names begin that a command asks
// Tav_GetProgramPathFilename about.
namespace program_path {

// Made absolute at once; empty stands for the current directory, whatever that is at the time.
void Set(const std::string& folder);
void SetFolderOf(const std::string& file);

}  // namespace program_path
