#include <windows.h>

#include <cwchar>

#include "tavhost/base/environment.h"
#include "tavhost/base/wide_text_windows.h"

namespace base {

std::optional<std::string> EnvironmentVariable(const std::string& name) {
  const std::wstring wide = Wide(name);
  std::wstring value(256, L'\0');
  while (true) {
    SetLastError(ERROR_SUCCESS);
    const DWORD length =
        GetEnvironmentVariableW(wide.c_str(), value.data(), static_cast<DWORD>(value.size()));
    if (length == 0 && GetLastError() != ERROR_SUCCESS) return std::nullopt;
    // Too small a buffer is answered by the size that is needed. The next try can fall short again:
    // another thread may have set the variable to a longer text meanwhile.
    if (length < value.size()) {
      value.resize(length);
      return Narrow(value);
    }
    value.resize(length);
  }
}

void ChangeEnvironment(const std::string& name, const std::optional<std::string>& value) {
  SetEnvironmentVariableW(Wide(name).c_str(), value ? Wide(*value).c_str() : nullptr);
}

std::vector<std::pair<std::string, std::string>> EnvironmentVariables() {
  std::vector<std::pair<std::string, std::string>> all;
  wchar_t* const block = GetEnvironmentStringsW();
  if (!block) return all;
  for (const wchar_t* entry = block; *entry; entry += std::wcslen(entry) + 1) {
    // The names under which the system keeps the current folder of each drive begin with a `=`.
    const wchar_t* const equals = std::wcschr(entry + 1, L'=');
    if (equals)
      all.emplace_back(Narrow({entry, static_cast<std::size_t>(equals - entry)}),
                       Narrow(equals + 1));
  }
  FreeEnvironmentStringsW(block);
  return all;
}

}  // namespace base
