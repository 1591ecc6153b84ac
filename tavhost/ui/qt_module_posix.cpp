#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>

#include "tavhost/ui/qt_module.h"

namespace ui {

namespace {

std::string ModulePath(const std::string& folder) { return folder + "/libtavhost_qt.so"; }

bool IsSet(const char* variable) {
  const char* const value = std::getenv(variable);
  return value && *value;
}

}  // namespace

bool HasDisplay() { return IsSet("DISPLAY") || IsSet("WAYLAND_DISPLAY"); }

bool HasQtModule(const std::string& moduleFolder) {
  return access(ModulePath(moduleFolder).c_str(), R_OK) == 0;
}

std::unique_ptr<Toolkit> LoadQtToolkit(const std::string& moduleFolder, const ModuleHost& host,
                                       const QtOptions& options, std::string& error) {
  void* const module = dlopen(ModulePath(moduleFolder).c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!module) {
    error = dlerror();
    return nullptr;
  }
  auto* const create = reinterpret_cast<CreateQtToolkitFunction*>(dlsym(module, kCreateQtToolkit));
  if (!create) {
    error = dlerror();
    return nullptr;
  }
  return std::unique_ptr<Toolkit>(create(host, options));
}

}  // namespace ui
