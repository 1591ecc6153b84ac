#include <unistd.h>

#include <cstdlib>

#include "tavhost/files/dir_entry_style.h"

namespace dir_entry {

const char kSeparator = '/';

bool MakeAbsolute(SV::String& path) {
  if (path.GetChar(0) == '/') return true;
  char* current = getcwd(nullptr, 0);
  if (!current) return false;
  SV::String absolute(current);
  std::free(current);
  if (!(path == ".")) {
    if (absolute.GetChar(absolute.Len() - 1) != '/') absolute += '/';
    absolute += path;
  }
  path = absolute;
  return true;
}

long DriveLength(const SV::String&) { return 0; }

}  // namespace dir_entry
