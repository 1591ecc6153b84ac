#include "host/windows/windows.h"
#include "tavhost/base/wide_text_windows.h"
#include "tavhost/loader/program_file.h"

namespace loader {

const char* const kPluginFolderFromProgram = "plugins";
const char* const kLibraryExtension = ".dll";

std::string ProgramPath() {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    if (length < path.size()) return base::Narrow(path.substr(0, length));
    path.resize(path.size() * 2);
  }
}

}  // namespace loader
