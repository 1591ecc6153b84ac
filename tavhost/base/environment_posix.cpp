#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "tavhost/base/environment.h"

namespace base {

std::optional<std::string> EnvironmentVariable(const std::string& name) {
  const char* const value = std::getenv(name.c_str());
  if (!value) return std::nullopt;
  return std::string(value);
}

void ChangeEnvironment(const std::string& name, const std::optional<std::string>& value) {
  value ? setenv(name.c_str(), value->c_str(), 1) : unsetenv(name.c_str());
}

std::vector<std::pair<std::string, std::string>> EnvironmentVariables() {
  std::vector<std::pair<std::string, std::string>> all;
  for (char** entry = environ; entry && *entry; ++entry) {
    const char* const equals = std::strchr(*entry, '=');
    if (equals)
      all.emplace_back(std::string(*entry, static_cast<std::size_t>(equals - *entry)),
                       std::string(equals + 1));
  }
  return all;
}

}  // namespace base
