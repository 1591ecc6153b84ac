#pragma once

#include <sys/stat.h>

#include <cstdint>

namespace windows {

// What a file or directory is, whatever it is called.
struct FileId {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;  // 0: nothing

  bool operator==(const FileId&) const = default;
};

inline FileId IdOf(const struct stat& status) { return {status.st_dev, status.st_ino}; }

inline bool IsReadOnly(const struct stat& status) {
  return !S_ISLNK(status.st_mode) && (status.st_mode & S_IWUSR) == 0;
}

}  // namespace windows
