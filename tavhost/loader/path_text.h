#pragma once

#include <filesystem>
#include <string>

namespace loader {

// Paths as texts are UTF-8.
std::filesystem::path ToPath(const std::string& text);
std::string ToText(const std::filesystem::path& path);
// From the root on, so that the system looks for a library nowhere else.
std::string WholePath(const std::string& text);

}  // namespace loader
