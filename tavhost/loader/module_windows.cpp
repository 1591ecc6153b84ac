#include <tl/expected.hpp>
#include <utility>

#include "host/windows/windows.h"
#include "tavhost/base/system_error_windows.h"
#include "tavhost/base/wide_text_windows.h"
#include "tavhost/loader/module.h"

namespace loader {

base::Result<Module> Module::Load(const std::string& path) {
  Module module;
  module.handle_ = LoadLibraryExW(base::Wide(path).c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
  if (!module.handle_) return base::Failure(base::SystemErrorText(GetLastError()));
  return module;
}

bool Module::IsLoaded(const std::string& path) {
  return GetModuleHandleW(base::Wide(path).c_str()) != nullptr;
}

void* Module::Symbol(const char* name) const {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(handle_), name));
}

void Module::Unload() {
  if (void* handle = std::exchange(handle_, nullptr)) FreeLibrary(static_cast<HMODULE>(handle));
}

}  // namespace loader
