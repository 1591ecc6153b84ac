#include "commands/files_same_directory.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "commands/files_final_path.h"

namespace commands {

namespace {

using Id = std::pair<dev_t, ino_t>;

struct Closer {
  void operator()(DIR* directory) const { closedir(directory); }
};

template <typename Call>
auto Again(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

// Nothing is there, or nothing that a command could reach by this path.
bool IsUnreachable() {
  return errno == ENOENT || errno == ENOTDIR || errno == ENAMETOOLONG || errno == EACCES ||
         errno == ELOOP;
}

// A directory and all above it, by what they are. False when that cannot be told.
bool ReadAbove(const char* path, std::vector<Id>& above) {
  const char* next = path;
  int at = AT_FDCWD;
  while (true) {
    const int opened = Again([=] { return openat(at, next, O_PATH | O_DIRECTORY | O_CLOEXEC); });
    const int error = errno;
    if (at != AT_FDCWD) close(at);
    at = opened;
    errno = error;
    if (at < 0) return false;
    struct stat status;
    const bool isTold = Again([&] { return fstat(at, &status); }) == 0;
    const Id id(status.st_dev, status.st_ino);
    const bool isRoot = isTold && !above.empty() && above.back() == id;
    if (!isTold || isRoot) {
      close(at);
      return isTold;
    }
    above.push_back(id);
    next = "..";
  }
}

// Whether `name` in `folder` is one of these; links are none.
bool IsOneOf(const std::vector<Id>& directories, int folder, const char* name) {
  struct stat status;
  if (Again([&] { return fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW); }) != 0) {
    return !IsUnreachable();
  }
  return S_ISDIR(status.st_mode) &&
         std::find(directories.begin(), directories.end(), Id(status.st_dev, status.st_ino)) !=
             directories.end();
}

}  // namespace

bool LiesInDirectory(const SV::String& target, const SV::String& path) {
  std::vector<Id> above;
  if (!ReadAbove(PlainPath(target).GetStr(), above)) return !IsUnreachable();
  return IsOneOf(above, AT_FDCWD, PlainPath(path).GetStr());
}

bool LiesInDirectoryOf(const SV::String& target, const SV::String& folder,
                       const std::function<bool(std::string_view)>& fits) {
  std::vector<Id> above;
  if (!ReadAbove(PlainPath(target).GetStr(), above)) return !IsUnreachable();
  const std::unique_ptr<DIR, Closer> directory(opendir(PlainPath(folder).GetStr()));
  if (!directory && errno == ENOMEM) throw std::bad_alloc();
  if (!directory) return !IsUnreachable() && errno != EINTR;
  while (true) {
    errno = 0;
    const struct dirent* entry = readdir(directory.get());
    if (!entry && errno == EINTR) continue;
    if (!entry) return errno != 0;
    const std::string_view name = entry->d_name;
    const bool canBeDirectory = entry->d_type == DT_DIR || entry->d_type == DT_UNKNOWN;
    if (!canBeDirectory || name == "." || name == ".." || !fits(name)) continue;
    if (IsOneOf(above, dirfd(directory.get()), entry->d_name)) return true;
  }
}

}  // namespace commands
