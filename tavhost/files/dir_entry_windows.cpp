#include <string>
#include <string_view>

#include "host/windows/windows.h"
#include "tavhost/files/dir_entry_style.h"

namespace dir_entry {

const char kSeparator = '\\';
const bool kIgnoresCase = true;

bool CanBePattern(const char* text) {
  const std::string_view pattern = text;
  const std::size_t name = pattern.find_last_of("\\/") + 1;
  return !pattern.empty() &&
         pattern.substr(0, name).find_first_of("*?") == std::string_view::npos &&
         pattern.find_first_of("<>|\"") == std::string_view::npos;
}

bool CanBePath(const char* text) {
  return CanBePattern(text) && std::string_view(text).find_first_of("*?") == std::string_view::npos;
}

bool MakeAbsolute(SV::String& path) {
  const DWORD room = GetFullPathNameA(path.GetStr(), 0, nullptr, nullptr);
  std::string absolute(room, '\0');
  const DWORD length = GetFullPathNameA(path.GetStr(), room, absolute.data(), nullptr);
  if (length == 0 || length >= room) return false;
  path = SV::String(absolute.data(), static_cast<long>(length));
  return true;
}

long DriveLength(const SV::String& path) { return path.GetChar(1) == ':' ? 2 : 0; }

}  // namespace dir_entry
