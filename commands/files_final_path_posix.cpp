#include <algorithm>
#include <climits>
#include <cstdlib>
#include <string>
#include <string_view>

#include "commands/files_final_path.h"
#include "host/files/dir_entry.h"

namespace commands {

namespace {

// `..` takes the name before it back, in the text, as everywhere in scripts' paths; behind a link
// the system would go another way.
std::string WithoutDots(std::string_view path) {
  std::string plain(path.starts_with('/') ? "/" : "");
  const std::size_t root = plain.size();
  std::size_t fixed = root;  // what stands before are ".." with nothing to take back
  while (!path.empty()) {
    const std::size_t end = std::min(path.find('/'), path.size());
    const std::string_view name = path.substr(0, end);
    path.remove_prefix(std::min(end + 1, path.size()));
    if (name.empty() || name == ".") continue;
    if (name == ".." && plain.size() > fixed) {
      const std::size_t slash = plain.rfind('/');
      plain.resize(slash == std::string::npos || slash < fixed ? fixed : slash);
      continue;
    }
    if (name == ".." && root > 0) continue;
    if (plain.size() > root) plain += '/';
    plain += name;
    if (name == "..") fixed = plain.size();
  }
  return plain.empty() ? "." : plain;
}

}  // namespace

SV::String PlainPath(const SV::String& path) {
  SV::DirEntry entry(path);
  entry.ToAbs();
  return SV::String(WithoutDots(entry.GetFull().View()).c_str());
}

SV::String FinalPath(const SV::String& path) {
  char final[PATH_MAX];
  return realpath(PlainPath(path).GetStr(), final) ? SV::String(final) : SV::String();
}

}  // namespace commands
