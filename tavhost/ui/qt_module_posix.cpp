#include <dlfcn.h>
#include <unistd.h>

#include <tl/expected.hpp>

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
