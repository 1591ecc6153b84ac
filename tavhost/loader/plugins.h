#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tavhost/base/result.h"
#include "tavhost/loader/plugin.h"

namespace loader {

// The folder beside the program in which its plug-ins lie, and those in it, by name. Fails when it
// cannot be read to its end.
std::string PluginFolder();
base::Result<std::vector<std::string>> FindPlugins();

// The plug-ins of this host, in the order in which they were loaded. Each serves the script port
// as long as this lives.
class Plugins {
 public:
  // `beforeOthers` is called once, before the first plug-in is loaded that is not the program's
  // own.
  explicit Plugins(void (*beforeOthers)() = nullptr) : beforeOthers_(beforeOthers) {}
  Plugins(const Plugins&) = delete;
  Plugins& operator=(const Plugins&) = delete;
  ~Plugins();

  // Fails, with a whole sentence, when it cannot be used.
  base::Result<void> Load(const std::string& path);
  // All that FindPlugins finds; none is an error too.
  base::Result<void> LoadFound();

  std::vector<std::string> Paths() const;

 private:
  void (*beforeOthers_)();
  std::vector<std::unique_ptr<Plugin>> plugins_;
};

}  // namespace loader
