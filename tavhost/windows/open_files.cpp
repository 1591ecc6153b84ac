#include "tavhost/windows/open_files.h"

#include <algorithm>
#include <vector>

namespace windows {

namespace {
// A file stands here as often as it is open; there are never many. Never destroyed: what a script
// forgot to close is closed at the end of the program, when static objects may be gone already.
std::vector<FileId>& openFiles = *new std::vector<FileId>;
}  // namespace

void RememberOpenFile(FileId file) { openFiles.push_back(file); }

void ForgetOpenFile(FileId file) {
  const auto found = std::find(openFiles.begin(), openFiles.end(), file);
  if (found != openFiles.end()) openFiles.erase(found);
}

bool AreFilesOpen() { return !openFiles.empty(); }

bool IsOpenFile(FileId file) {
  return std::find(openFiles.begin(), openFiles.end(), file) != openFiles.end();
}

}  // namespace windows
