#include <windows.h>

#include <tl/expected.hpp>
#include "tavhost/base/wide_text_windows.h"
#include "tavhost/ui/qt_module.h"

namespace ui {

namespace {

std::wstring ModulePath(const std::string& folder) {
  const std::wstring path = base::Wide(folder + "\\tavhost_qt.dll");
  std::wstring whole(GetFullPathNameW(path.c_str(), 0, nullptr, nullptr), L'\0');
  whole.resize(
      GetFullPathNameW(path.c_str(), static_cast<DWORD>(whole.size()), whole.data(), nullptr));
  return whole;
}

}  // namespace

bool HasQtModule(const std::string& moduleFolder) {
  return GetFileAttributesW(ModulePath(moduleFolder).c_str()) != INVALID_FILE_ATTRIBUTES;
}

namespace {

// A function of the module.
template <typename Function>
base::Result<Function*> Find(const std::string& moduleFolder, const char* name) {
  // Qt lies beside the module, not beside the program.
  const HMODULE module =
      LoadLibraryExW(ModulePath(moduleFolder).c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
  const FARPROC function = module ? GetProcAddress(module, name) : nullptr;
  if (!function) {
    return base::Failure("the module for windows cannot be loaded (error " +
                         std::to_string(GetLastError()) + ")");
  }
  return reinterpret_cast<Function*>(reinterpret_cast<void*>(function));
}

}  // namespace

base::Result<std::unique_ptr<Toolkit>> LoadQtToolkit(const std::string& moduleFolder,
                                                     const ModuleHost& host,
                                                     const QtOptions& options) {
  const auto create = Find<CreateQtToolkitFunction>(moduleFolder, kCreateQtToolkit);
  if (!create) return tl::unexpected<base::Error>(create.error());
  std::unique_ptr<Toolkit> toolkit((*create)(host, options));
  if (!toolkit) return base::Failure("there is no screen");
  return toolkit;
}

base::Result<RunIdeFunction*> LoadIde(const std::string& moduleFolder) {
  return Find<RunIdeFunction>(moduleFolder, kRunIde);
}

}  // namespace ui
