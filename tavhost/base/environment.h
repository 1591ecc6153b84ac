#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

// The process's environment variables, as UTF-8 where the system's are UTF-16.
namespace base {

// Nothing when there is no such variable; one that is set to nothing is an empty text.
std::optional<std::string> EnvironmentVariable(const std::string& name);
// For this process and those that it starts; nothing as a value takes the variable away. While no
// other thread looks at the environment.
void ChangeEnvironment(const std::string& name, const std::optional<std::string>& value);
// All of them as name and value, in the system's order.
std::vector<std::pair<std::string, std::string>> EnvironmentVariables();

}  // namespace base
