#include <dlfcn.h>

#include <cerrno>
#include <exception>
#include <new>
#include <tl/expected.hpp>
#include <utility>

#include "tavhost/loader/module.h"

namespace loader {

namespace {

std::string LoadError(const std::string& path) {
  const char* text = dlerror();
  std::string error = text ? text : "unknown error";
  const std::string prefix = path + ": ";
  return error.starts_with(prefix) ? error.substr(prefix.size()) : error;
}

}  // namespace

base::Result<Module> Module::Load(const std::string& path) {
  Module module;
  errno = 0;
  try {
    module.handle_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  } catch (const std::bad_alloc&) {
    // Of a static initialiser: it has left the system's loader in the middle of its work, and with
    // its lock, so that nothing that follows can be relied on.
    std::terminate();
  }
  if (!module.handle_ && errno == ENOMEM) throw std::bad_alloc();
  if (!module.handle_) return base::Failure(LoadError(path));
  return module;
}

bool Module::IsLoaded(const std::string& path) {
  void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (handle) dlclose(handle);
  return handle != nullptr;
}

void* Module::Symbol(const char* name) const { return dlsym(handle_, name); }

void Module::Unload() {
  if (void* handle = std::exchange(handle_, nullptr)) dlclose(handle);
}

}  // namespace loader
