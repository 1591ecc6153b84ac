#pragma once

#include <string>

// The folder against which scripts' relative file names are resolved where they are written: that
// of the running script.
namespace program_path {

// Made absolute at once; empty stands for the current directory, whatever that is at the time.
void Set(const std::string& folder);
void SetFolderOf(const std::string& file);

}  // namespace program_path
