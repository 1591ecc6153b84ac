#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <string_view>

#include "tavhost/files/dir_entry_style.h"
#include "tavhost/windows/path.h"

namespace dir_entry {

const char kSeparator = '/';
const bool kIgnoresCase = false;

bool CanBePath(const char* text) { return windows::Path(text).IsValid(); }

bool CanBePattern(const char* text) {
  return windows::Path(text, windows::Path::Last::kPattern).IsValid();
}

namespace {

// The current directory, or, when it has been removed, the place where it was: a path put together
// from it leads nowhere, or to what stands there by now, but never to the root.
SV::String CurrentDirectory() {
  if (char* current = getcwd(nullptr, 0)) {
    SV::String directory(current);
    std::free(current);
    return directory;
  }
  constexpr std::string_view kRemoved = " (deleted)";
  char place[PATH_MAX];
  const ssize_t length = readlink("/proc/self/cwd", place, sizeof place);
  const std::string_view text(place, length > 0 ? static_cast<std::size_t>(length) : 0);
  if (!text.starts_with('/') || !text.ends_with(kRemoved)) return {};
  return {place, static_cast<long>(text.size() - kRemoved.size())};
}

}  // namespace

bool MakeAbsolute(SV::String& path) {
  if (path.GetChar(0) == '/') return true;
  SV::String absolute = CurrentDirectory();
  if (absolute.Len() == 0) return false;
  if (!(path == ".")) {
    if (absolute.GetChar(absolute.Len() - 1) != '/') absolute += '/';
    absolute += path;
  }
  path = absolute;
  return true;
}

long DriveLength(const SV::String&) { return 0; }

}  // namespace dir_entry
