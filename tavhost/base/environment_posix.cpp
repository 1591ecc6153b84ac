#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <new>

#include "tavhost/base/environment.h"

namespace base {

namespace {

constexpr std::size_t kLongerThanAnyKeptInside = 64;  // a string object

}  // namespace

std::optional<std::string> EnvironmentVariable(const std::string& name) {
  const char* const value = std::getenv(name.c_str());
  if (!value) return std::nullopt;
  return std::string(value);
}

// setenv would keep each value that a variable ever had.
void ChangeEnvironment(const std::string& name, const std::optional<std::string>& value) {
  // "NAME=value", in the environment to the very end of the process.
  static auto& entries = *new std::map<std::string, std::string>;
  if (!value) {
    unsetenv(name.c_str());
    entries.erase(name);
    return;
  }
  std::string entry = name + '=' + *value;
  std::string& kept = entries[name];
  // A short text would move with its string.
  entry.reserve(kLongerThanAnyKeptInside);
  if (putenv(entry.data()) != 0) throw std::bad_alloc();
  kept.swap(entry);
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
