#include <unistd.h>

#include "tavhost/loader/program_file.h"

namespace loader {

const char* const kPluginFolderFromProgram = "../lib/tavhost/plugins";
const char* const kLibraryExtension = ".so";

std::string ProgramPath() {
  std::string path(256, '\0');
  for (;;) {
    const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
    if (length < 0) return {};
    if (static_cast<std::size_t>(length) < path.size()) {
      path.resize(static_cast<std::size_t>(length));
      return path;
    }
    path.resize(path.size() * 2);
  }
}

}  // namespace loader
