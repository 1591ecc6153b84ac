#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tavhost/loader/plugin.h"

namespace loader {

// The folder beside the program in which its plug-ins lie, and those in it, by name.
std::string PluginFolder();
std::vector<std::string> FindPlugins();

// The plug-ins of this host, in the order in which they were loaded. Each serves the script port
// as long as this lives.
class Plugins {
 public:
  Plugins() = default;
  Plugins(const Plugins&) = delete;
  Plugins& operator=(const Plugins&) = delete;
  ~Plugins();

  // False, and a whole sentence in `error`, when it cannot be used.
  bool Load(const std::string& path, std::string& error);
  // All that FindPlugins finds; none is an error too.
  bool LoadFound(std::string& error);

 private:
  std::vector<std::unique_ptr<Plugin>> plugins_;
};

}  // namespace loader
