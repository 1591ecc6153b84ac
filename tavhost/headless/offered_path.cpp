#include "tavhost/headless/offered_path.h"

#include <algorithm>
#include <filesystem>
#include <string_view>

#include "tavhost/base/file_names.h"
#include "tavhost/files/disk.h"

namespace ui {

namespace {

constexpr char kSeparator = static_cast<char>(std::filesystem::path::preferred_separator);

// A script's path with the system's separators.
std::string Native(std::string path) {
  std::replace_if(path.begin(), path.end(), file_names::IsSeparator, kSeparator);
  return path;
}

// Without "." and "..", as dialogs write paths. The root of an absolute path stays.
std::string Plain(const std::string& path) {
  std::vector<std::string_view> names;
  std::string_view rest = path;
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find(kSeparator), rest.size());
    const std::string_view name = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    if (name.empty() || name == ".") continue;
    if (name != "..") {
      names.push_back(name);
    } else if (!names.empty() && names.back().back() != ':') {
      names.pop_back();
    }
  }
  // "/", and the "\\" of a network's paths.
  std::string plain =
      path.substr(0, std::min<std::size_t>(path.find_first_not_of(kSeparator), path.size()));
  plain.resize(std::min<std::size_t>(plain.size(), kSeparator == '\\' ? 2 : 1));
  for (const std::string_view name : names) plain = disk::Join(plain, std::string(name));
  return plain;
}

// Dialogs add the extension to a text without any dot.
std::string WithExtension(const FileDialogModel& files, const std::string& name) {
  std::string_view extension = files.defaultExtension;
  if (extension.starts_with('.')) extension.remove_prefix(1);
  if (extension.empty() || name.empty() || name.find('.') != name.npos) return name;
  return name + '.' + std::string(extension);
}

std::string WholePath(const FileDialogModel& files, const std::string& name) {
  if (disk::IsAbsolute(name)) return name;
  const std::string path = disk::Join(Native(files.startPath), Native(name));
  return Plain(disk::IsAbsolute(path) ? path : disk::Join(disk::CurrentFolder(), path));
}

}  // namespace

std::vector<std::string> OfferedPaths(const FileDialogModel& files) {
  if (files.fileName.empty()) return {};
  return {WholePath(files, WithExtension(files, files.fileName))};
}

std::string WrittenPath(const FileDialogModel& files, const std::string& name) {
  const std::string written = WithExtension(files, name);
  return files.startPath.empty() ? written : WholePath(files, written);
}

}  // namespace ui
