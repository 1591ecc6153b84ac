#include "tavhost/loader/plugins.h"

#include <algorithm>
#include <filesystem>
#include <new>
#include <system_error>
#include <tl/expected.hpp>
#include <utility>

#include "tavhost/loader/path_text.h"
#include "tavhost/loader/program_file.h"
#include "tavhost/script/ports/ports.h"

namespace loader {

std::string PluginFolder() {
  return ToText((ToPath(ProgramPath()).parent_path() / kPluginFolderFromProgram)
                    .lexically_normal()
                    .make_preferred());
}

base::Result<std::vector<std::string>> FindPlugins() {
  std::vector<std::string> found;
  std::error_code error;
  const std::string folder = PluginFolder();
  std::filesystem::directory_iterator entry(ToPath(folder), error);
  for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
    if (entry->path().extension() == kLibraryExtension) found.push_back(ToText(entry->path()));
  }
  if (error == std::errc::not_enough_memory) throw std::bad_alloc();
  if (error && error != std::errc::no_such_file_or_directory) {
    return base::Failure("the plug-ins in \"" + folder + "\" cannot be found: " + error.message());
  }
  std::sort(found.begin(), found.end());
  return found;
}

Plugins::~Plugins() {
  for (; !plugins_.empty(); plugins_.pop_back()) {
    script::ScriptPort::TavScript().RemoveProvider(*plugins_.back());
  }
}

base::Result<void> Plugins::Load(const std::string& path) {
  if (beforeOthers_ && !IsOwnPlugin(path)) std::exchange(beforeOthers_, nullptr)();
  base::Result<std::unique_ptr<Plugin>> plugin = Plugin::Load(path);
  if (!plugin) return tl::unexpected<base::Error>(plugin.error());
  script::ScriptPort::TavScript().AddProvider(**plugin);
  plugins_.push_back(std::move(*plugin));
  return {};
}

base::Result<void> Plugins::LoadFound() {
  const base::Result<std::vector<std::string>> found = FindPlugins();
  if (!found) return tl::unexpected<base::Error>(found.error());
  if (found->empty()) return base::Failure("there is no plug-in in \"" + PluginFolder() + "\"");
  for (const std::string& path : *found) {
    if (base::Result<void> loaded = Load(path); !loaded) return loaded;
  }
  return {};
}

std::vector<std::string> Plugins::Paths() const {
  std::vector<std::string> paths;
  for (const auto& plugin : plugins_) paths.push_back(plugin->Path());
  return paths;
}

}  // namespace loader
