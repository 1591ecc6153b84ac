#include "tavhost/windows/open_files.h"

#include <algorithm>
#include <vector>

namespace windows {

namespace {
// Few; a file stands in it as often as it is open. Never destroyed: what a script forgets to close
// is closed when the program ends, after all of the objects here.
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
