#pragma once

#include <filesystem>
#include <string>

namespace loader {

// Between the standard library's paths and texts, which are UTF-8 on every system.
std::filesystem::path ToPath(const std::string& text);
std::string ToText(const std::filesystem::path& path);
// From the root on, so that the system looks for a library nowhere else.
std::string WholePath(const std::string& text);

}  // namespace loader
