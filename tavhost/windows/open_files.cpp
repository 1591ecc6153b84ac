#include "tavhost/windows/open_files.h"

#include <algorithm>
#include <vector>

namespace windows {

namespace {
std::vector<FileId> openFiles;  // few; a file stands in it as often as it is open
}

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
