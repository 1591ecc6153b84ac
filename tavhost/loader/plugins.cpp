#include "tavhost/loader/plugins.h"

#include <algorithm>
#include <filesystem>

#include "tavhost/loader/path_text.h"
#include "tavhost/loader/program_file.h"
#include "tavhost/script/ports/ports.h"

namespace loader {

std::string PluginFolder() {
  return ToText((ToPath(ProgramPath()).parent_path() / kPluginFolderFromProgram)
                    .lexically_normal()
                    .make_preferred());
}

std::vector<std::string> FindPlugins() {
  std::vector<std::string> found;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(ToPath(PluginFolder()), error)) {
    if (entry.path().extension() == kLibraryExtension) found.push_back(ToText(entry.path()));
  }
  std::sort(found.begin(), found.end());
  return found;
}

Plugins::~Plugins() {
  for (; !plugins_.empty(); plugins_.pop_back()) {
    script::ScriptPort::TavScript().RemoveProvider(*plugins_.back());
  }
}

bool Plugins::Load(const std::string& path, std::string& error) {
  std::unique_ptr<Plugin> plugin = Plugin::Load(path, error);
  if (!plugin) return false;
  script::ScriptPort::TavScript().AddProvider(*plugin);
  plugins_.push_back(std::move(plugin));
  return true;
}

bool Plugins::LoadFound(std::string& error) {
  const std::vector<std::string> found = FindPlugins();
  if (found.empty()) {
    error = "there is no plug-in in \"" + PluginFolder() + "\"";
    return false;
  }
  return std::all_of(found.begin(), found.end(),
                     [&](const std::string& path) { return Load(path, error); });
}

}  // namespace loader
