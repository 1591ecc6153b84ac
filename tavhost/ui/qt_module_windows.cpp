#include <windows.h>

#include "tavhost/ui/qt_module.h"

namespace ui {

namespace {

std::wstring ModulePath(const std::string& folder) {
  const std::string path = folder + "\\tavhost_qt.dll";
  const int length = static_cast<int>(path.size());
  std::wstring wide(path.size(), L'\0');
  const int written = MultiByteToWideChar(CP_UTF8, 0, path.data(), length, wide.data(), length);
  wide.resize(static_cast<std::size_t>(written));
  return wide;
}

}  // namespace

bool HasDisplay() { return true; }

bool HasQtModule(const std::string& moduleFolder) {
  return GetFileAttributesW(ModulePath(moduleFolder).c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::unique_ptr<Toolkit> LoadQtToolkit(const std::string& moduleFolder, const ModuleHost& host,
                                       const QtOptions& options, std::string& error) {
  const HMODULE module = LoadLibraryW(ModulePath(moduleFolder).c_str());
  const FARPROC create = module ? GetProcAddress(module, kCreateQtToolkit) : nullptr;
  if (!create) {
    error =
        "the module for windows cannot be loaded (error " + std::to_string(GetLastError()) + ")";
    return nullptr;
  }
  const auto function = reinterpret_cast<CreateQtToolkitFunction*>(reinterpret_cast<void*>(create));
  return std::unique_ptr<Toolkit>(function(host, options));
}

}  // namespace ui
