#pragma once

#include <string>

#include "tavhost/base/result.h"

namespace loader {

// A shared library in this process. Loading runs its static initialisers, unloading its static
// destructors. Its own symbols stay its own.
class Module {
 public:
  Module() = default;
  Module(Module&& other) noexcept;
  Module& operator=(Module&& other) noexcept;
  ~Module();

  // All that it needs of the host must be there. `path` is UTF-8, with a folder in it.
  static base::Result<Module> Load(const std::string& path);
  // Whether the library of that path is in this process.
  static bool IsLoaded(const std::string& path);

  void* Symbol(const char* name) const;  // null when it exports no such name
  void Unload();

 private:
  void* handle_ = nullptr;
};

}  // namespace loader
