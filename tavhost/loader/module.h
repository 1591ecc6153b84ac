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

  // Fails when it cannot be loaded; that includes a library that needs something of the host which
  // the host does not have. `path` is UTF-8 and names a folder, so that the system searches nowhere
  // else.
  static base::Result<Module> Load(const std::string& path);
  // Whether the library of that path is in this process.
  static bool IsLoaded(const std::string& path);

  void* Symbol(const char* name) const;  // null when it exports no such name
  void Unload();

 private:
  void* handle_ = nullptr;
};

}  // namespace loader
