#pragma once

#include <optional>
#include <string>
#include <vector>

// The named texts that a file has besides its contents. Files may be opened by O_PATH. What fails
// returns nothing or false, with errno set.
namespace base {

// Nothing, with ENOTSUP, where the file system has none.
std::optional<std::vector<std::string>> AttributesOf(int file);
std::optional<std::string> ReadAttribute(int file, const char* name);
bool WriteAttribute(int file, const char* name, const std::string& value);
// True as well when there is none of that name.
bool RemoveAttribute(int file, const char* name);

}  // namespace base
