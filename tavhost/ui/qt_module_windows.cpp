#include <windows.h>

#include "tavhost/base/wide_text_windows.h"
#include "tavhost/ui/qt_module.h"

namespace ui {

namespace {

std::wstring ModulePath(const std::string& folder) {
  return base::Wide(folder + "\\tavhost_qt.dll");
}

}  // namespace

bool HasDisplay() { return true; }

bool HasQtModule(const std::string& moduleFolder) {
  return GetFileAttributesW(ModulePath(moduleFolder).c_str()) != INVALID_FILE_ATTRIBUTES;
}

namespace {

// A function of the module; null when there is none.
void* Find(const std::string& moduleFolder, const char* name, std::string& error) {
  const HMODULE module = LoadLibraryW(ModulePath(moduleFolder).c_str());
  const FARPROC function = module ? GetProcAddress(module, name) : nullptr;
  if (!function) {
    error =
        "the module for windows cannot be loaded (error " + std::to_string(GetLastError()) + ")";
  }
  return reinterpret_cast<void*>(function);
}

}  // namespace

std::unique_ptr<Toolkit> LoadQtToolkit(const std::string& moduleFolder, const ModuleHost& host,
                                       const QtOptions& options, std::string& error) {
  auto* const create =
      reinterpret_cast<CreateQtToolkitFunction*>(Find(moduleFolder, kCreateQtToolkit, error));
  return std::unique_ptr<Toolkit>(create ? create(host, options) : nullptr);
}

RunIdeFunction* LoadIde(const std::string& moduleFolder, std::string& error) {
  return reinterpret_cast<RunIdeFunction*>(Find(moduleFolder, kRunIde, error));
}

}  // namespace ui
