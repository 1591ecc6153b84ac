#include "host/windows/directories.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "host/windows/files.h"
#include "tavhost/base/trace.h"
#include "tavhost/windows/walk.h"

namespace windows {

namespace {

// A directory that is there already counts for the walk as one that was made: a recursive copy goes
// on into it. The call fails all the same.
bool MakeDirectory(const char* text) {
  const Path path(text);
  const Place place(path);
  if (!place.IsValid()) return false;
  if (!MayMakeDirectory(place)) {
    CloseTheWay(path);
    errno = EINVAL;
    return false;
  }
  const bool made = mkdirat(place.Directory(), place.Name(), 0777) == 0;
  const int error = errno;
  if (made || error == EEXIST) DirectoryMade(path, place);
  errno = error;
  return made;
}

bool IsCurrentDirectory(const struct stat& status) {
  struct stat current;
  return stat(".", &current) == 0 && IdOf(current) == IdOf(status);
}

bool RemoveDirectory(const char* text) {
  const Path path(text);
  const Place place(path);
  struct stat status;
  if (!place.IsValid() || !place.Status(status)) return false;
  if (S_ISLNK(status.st_mode)) {
    // Whoever removes a tree may have removed first what the link leads to.
    struct stat reached;
    const bool leadsNowhere = fstatat(place.Directory(), place.Name(), &reached, 0) != 0;
    if (leadsNowhere ? errno != ENOENT : !S_ISDIR(reached.st_mode)) {
      errno = ENOTDIR;
      return false;
    }
    return unlinkat(place.Directory(), place.Name(), 0) == 0;
  }
  if (IsCurrentDirectory(status)) {
    errno = EBUSY;
    return false;
  }
  return unlinkat(place.Directory(), place.Name(), AT_REMOVEDIR) == 0;
}

bool ChangeDirectory(const char* text) {
  const Path path(text);
  if (!path.IsValid()) return false;
  Descriptor directory = OpenDirectoryAt(AT_FDCWD, path.View(), O_PATH);
  if (!directory.IsOpen() || fchdir(directory.Get()) != 0) return false;
  CurrentDirectoryChanged();
  return true;
}

// What the C runtime's functions return: 0, or -1 for a failure.
int RuntimeResult(bool success) { return success ? 0 : -1; }

}  // namespace

}  // namespace windows

BOOL CreateDirectoryA(LPCSTR path, SECURITY_ATTRIBUTES* unused) {
  trace::Call call("CreateDirectoryA", path, trace::Object{unused});
  return call.Result(BOOL{windows::MakeDirectory(path)});
}

BOOL RemoveDirectoryA(LPCSTR path) {
  trace::Call call("RemoveDirectoryA", path);
  return call.Result(BOOL{windows::RemoveDirectory(path)});
}

int _chdir(const char* path) {
  trace::Call call("_chdir", path);
  return call.Result(windows::RuntimeResult(windows::ChangeDirectory(path)));
}

int _mkdir(const char* path) {
  trace::Call call("_mkdir", path);
  return call.Result(windows::RuntimeResult(windows::MakeDirectory(path)));
}

int _rmdir(const char* path) {
  trace::Call call("_rmdir", path);
  return call.Result(windows::RuntimeResult(windows::RemoveDirectory(path)));
}
