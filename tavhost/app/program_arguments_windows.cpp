#include <windows.h>

#include <shellapi.h>

#include "tavhost/app/program_arguments.h"

namespace app {

namespace {

std::string ToUtf8(const wchar_t* text) {
  const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
  if (size <= 1) return {};
  std::string utf8(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text, -1, utf8.data(), size, nullptr, nullptr);
  utf8.pop_back();  // the NUL
  return utf8;
}

}  // namespace

// The C runtime's arguments have lost what the code page lacks, and their wildcards are expanded.
std::vector<std::string> ProgramArguments(int, char**) {
  std::vector<std::string> result;
  int count = 0;
  wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &count);
  if (!wide) return result;
  for (int i = 1; i < count; ++i) result.push_back(ToUtf8(wide[i]));
  LocalFree(wide);
  return result;
}

}  // namespace app
