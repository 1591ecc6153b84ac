#include <windows.h>

#include <shellapi.h>

#include "tavhost/app/program_arguments.h"
#include "tavhost/base/wide_text_windows.h"

namespace app {

// The C runtime's arguments have lost what the code page lacks, and their wildcards are expanded.
std::vector<std::string> ProgramArguments(int, char**) {
  std::vector<std::string> result;
  int count = 0;
  wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &count);
  if (!wide) return result;
  for (int i = 1; i < count; ++i) result.push_back(base::Narrow(wide[i]));
  LocalFree(wide);
  return result;
}

}  // namespace app
