#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

// The process's environment variables, as UTF-8 where the system's are UTF-16.
namespace base {

std::optional<std::string> EnvironmentVariable(const std::string& name);
std::vector<std::pair<std::string, std::string>> EnvironmentVariables();

}  // namespace base
