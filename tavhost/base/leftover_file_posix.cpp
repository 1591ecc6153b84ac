#include <sys/stat.h>

#include "tavhost/base/leftover_file.h"

LeftoverFile::Identity LeftoverFile::IdentityOf(const char* path) noexcept {
  struct stat status;
  if (lstat(path, &status) != 0) return {};
  return {status.st_dev, status.st_ino};
}
