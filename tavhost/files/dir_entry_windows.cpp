#include <string>

#include "host/windows/windows.h"
#include "tavhost/files/dir_entry_style.h"

namespace dir_entry {

const char kSeparator = '\\';

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
