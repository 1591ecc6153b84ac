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

namespace {

// A function of the module; null when there is none.
void* Find(const std::string& moduleFolder, const char* name, std::string& error) {
  void* const module = dlopen(ModulePath(moduleFolder).c_str(), RTLD_NOW | RTLD_LOCAL);
  void* const function = module ? dlsym(module, name) : nullptr;
  if (!function) error = dlerror();
  return function;
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
