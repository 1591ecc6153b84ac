#include <windows.h>

#include <tl/expected.hpp>

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

namespace {

// A function of the module.
template <typename Function>
base::Result<Function*> Find(const std::string& moduleFolder, const char* name) {
  const HMODULE module = LoadLibraryW(ModulePath(moduleFolder).c_str());
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
  return Find<CreateQtToolkitFunction>(moduleFolder, kCreateQtToolkit)
      .map([&](CreateQtToolkitFunction* create) {
        return std::unique_ptr<Toolkit>(create(host, options));
      });
}

base::Result<RunIdeFunction*> LoadIde(const std::string& moduleFolder) {
  return Find<RunIdeFunction>(moduleFolder, kRunIde);
}

}  // namespace ui
