#include "tavhost/files/planned_paths.h"

#include <algorithm>

#include "host/files/dir_entry.h"
#include "tavhost/base/ascii.h"
#include "tavhost/base/file_names.h"
#include "tavhost/base/string_of.h"
#include "tavhost/files/dir_entry_style.h"

using file_names::IsSeparator;

namespace planned_paths {

std::filesystem::path ToPath(const std::string& text) {
  return std::filesystem::path(std::u8string(text.begin(), text.end()));
}

std::string ToText(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return std::string(text.begin(), text.end());
}

std::string Full(std::string_view path) {
  SV::DirEntry entry(base::StringOf(path));
  entry.ToAbs();
  const SV::String written = entry.GetFull();
  std::string_view rest = written.View();
  std::string result;
  while (!rest.empty()) {
    // A component with the separator before it.
    std::size_t end = 1;
    while (end < rest.size() && !IsSeparator(rest[end])) ++end;
    const std::string_view piece = rest.substr(0, end);
    rest.remove_prefix(end);
    const bool isShare = dir_entry::kSeparator == '\\' && result.empty();
    const std::string_view name = piece.substr(IsSeparator(piece[0]) ? 1 : 0);
    if (name == "..") {
      result.erase(std::min(result.find_last_of("/\\"), result.size()));
    } else if (name != "." && (!name.empty() || isShare)) {
      result += piece;
    }
  }
  if (result.empty() || result.back() == ':') result += dir_entry::kSeparator;
  return result;
}

std::pair<std::string, std::string> Parted(const std::string& full) {
  const std::size_t slash = full.find_last_of("/\\");
  if (slash == std::string::npos) return {"", full};
  const bool isRoot = slash == 0 || full[slash - 1] == ':';
  return {full.substr(0, isRoot ? slash + 1 : slash), full.substr(slash + 1)};
}

bool IsEqual(std::string_view a, std::string_view b) {
  return dir_entry::kIgnoresCase ? ascii::EqualIgnoringCase(a, b) : a == b;
}

bool IsWithin(std::string_view path, std::string_view folder) {
  if (path.size() < folder.size() || !IsEqual(path.substr(0, folder.size()), folder)) return false;
  return path.size() == folder.size() || IsSeparator(folder.back()) ||
         IsSeparator(path[folder.size()]);
}

bool EndsInSeparator(std::string_view text) { return !text.empty() && IsSeparator(text.back()); }

bool MeansDirectory(disk::Name name) { return name.isScripts && EndsInSeparator(name.text); }

std::string Told(disk::Name name) {
  if (!name.isScripts) return name.text;
  std::string path = Full(name.text);
  if (EndsInSeparator(name.text) && !EndsInSeparator(path)) path += dir_entry::kSeparator;
  return path;
}

std::string Join(const std::string& folder, const std::string& name) {
  return EndsInSeparator(folder) ? folder + name : folder + dir_entry::kSeparator + name;
}

std::size_t AlikeUpTo(const std::string& a, const std::string& b) {
  std::size_t same = static_cast<std::size_t>(
      std::mismatch(a.begin(), a.end(), b.begin(), b.end()).first - a.begin());
  const auto ends = [same](const std::string& path) {
    return path.size() == same || IsSeparator(path[same]);
  };
  if (ends(a) && ends(b)) return same;
  same = same == 0 ? std::string::npos : a.find_last_of("/\\", same - 1);
  return same == std::string::npos ? 0 : same;
}

}  // namespace planned_paths
