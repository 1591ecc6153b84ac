#include <dlfcn.h>
#include <unistd.h>

#include <tl/expected.hpp>

#include "tavhost/ui/display.h"
#include "tavhost/ui/qt_module.h"

namespace ui {

namespace {

std::string ModulePath(const std::string& folder) { return folder + "/libtavhost_qt.so"; }

}  // namespace

bool HasQtModule(const std::string& moduleFolder) {
  return access(ModulePath(moduleFolder).c_str(), R_OK) == 0;
}

namespace {

// A function of the module.
template <typename Function>
base::Result<Function*> Find(const std::string& moduleFolder, const char* name) {
  void* const module = dlopen(ModulePath(moduleFolder).c_str(), RTLD_NOW | RTLD_LOCAL);
  void* const function = module ? dlsym(module, name) : nullptr;
  if (!function) return base::Failure(dlerror());
  return reinterpret_cast<Function*>(function);
}

}  // namespace

base::Result<std::unique_ptr<Toolkit>> LoadQtToolkit(const std::string& moduleFolder,
                                                     const ModuleHost& host,
                                                     const QtOptions& options) {
  if (const base::Result<void> display = CheckDisplay(); !display) {
    return tl::unexpected<base::Error>(display.error());
  }
  return Find<CreateQtToolkitFunction>(moduleFolder, kCreateQtToolkit)
      .map([&](CreateQtToolkitFunction* create) {
        return std::unique_ptr<Toolkit>(create(host, options));
      });
}

base::Result<RunIdeFunction*> LoadIde(const std::string& moduleFolder) {
  return Find<RunIdeFunction>(moduleFolder, kRunIde);
}

}  // namespace ui
