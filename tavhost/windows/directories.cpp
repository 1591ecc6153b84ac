#include "host/windows/directories.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <optional>

#include "host/windows/files.h"
#include "tavhost/base/trace.h"
#include "tavhost/base/uninterrupted_posix.h"
#include "tavhost/windows/file_functions.h"
#include "tavhost/windows/walk.h"

namespace windows {

namespace {

// A directory that is there already, whatever the call failed at, counts for the walk as one that
// was made: a recursive copy goes on into it. The call fails all the same.
bool MakeDirectory(const char* text) {
  const Path path(text);
  const Place place(path);
  if (!place.IsValid()) return false;
  if (!MayMakeDirectory(place)) {
    CloseTheWay(path);
    errno = EINVAL;
    return false;
  }
  const std::optional<DirectoryLook> look = LookOfCopy(path);
  // Whoever the original is open to, its copy is its owner's alone until all is in it.
  const mode_t mode = look ? S_IRWXU : 0777;
  const bool made = base::MakeDirectoryAt(place.Directory(), place.Name(), mode) == 0;
  const int error = errno;
  DirectoryMade(path, place, made ? look : std::nullopt);
  errno = error;
  return made;
}

// True as well when that cannot be told.
bool IsCurrentDirectory(const struct stat& status) {
  struct stat current;
  return base::StatusAt(AT_FDCWD, "", current, AT_EMPTY_PATH) != 0 || IdOf(current) == IdOf(status);
}

bool RemoveDirectory(const char* text) {
  const Path path(text);
  const Place place(path);
  struct stat status;
  if (!place.IsValid() || !place.Status(status)) return false;
  if (S_ISLNK(status.st_mode)) {
    // Whoever removes a tree may have removed first what the link leads to.
    struct stat reached;
    const bool leadsNowhere = base::StatusAt(place.Directory(), place.Name(), reached, 0) != 0;
    if (leadsNowhere ? errno != ENOENT : !S_ISDIR(reached.st_mode)) {
      errno = ENOTDIR;
      return false;
    }
    return base::UnlinkAt(place.Directory(), place.Name(), 0) == 0;
  }
  if (IsCurrentDirectory(status)) {
    errno = EBUSY;
    return false;
  }
  return CompleteMoved(place, status) &&
         base::UnlinkAt(place.Directory(), place.Name(), AT_REMOVEDIR) == 0;
}

bool ChangeDirectory(const char* text) {
  const Path path(text);
  const Place place(path);
  if (!place.IsValid()) return false;
  const Descriptor directory = OpenDirectoryAt(place.Directory(), place.Name(), O_PATH);
  if (!directory.IsOpen() || base::Uninterrupted([&] { return fchdir(directory.Get()); }) != 0)
    return false;
  CurrentDirectoryChanged();
  return true;
}

// What the C runtime's functions return: 0, or -1 for a failure.
int RuntimeResult(bool success) { return success ? 0 : -1; }

}  // namespace

}  // namespace windows

using windows::replacedFunctions;

BOOL CreateDirectoryA(LPCSTR path, SECURITY_ATTRIBUTES* unused) {
  trace::Call call("CreateDirectoryA", path, trace::Object{unused});
  if (replacedFunctions) return call.Result(replacedFunctions->createDirectory(path, unused));
  return call.Result(BOOL{windows::MakeDirectory(path)});
}

BOOL RemoveDirectoryA(LPCSTR path) {
  trace::Call call("RemoveDirectoryA", path);
  if (replacedFunctions) return call.Result(replacedFunctions->removeDirectory(path));
  return call.Result(BOOL{windows::RemoveDirectory(path)});
}

int _chdir(const char* path) {
  trace::Call call("_chdir", path);
  if (replacedFunctions) return call.Result(replacedFunctions->chdir(path));
  return call.Result(windows::RuntimeResult(windows::ChangeDirectory(path)));
}

int _mkdir(const char* path) {
  trace::Call call("_mkdir", path);
  if (replacedFunctions) return call.Result(replacedFunctions->mkdir(path));
  return call.Result(windows::RuntimeResult(windows::MakeDirectory(path)));
}

int _rmdir(const char* path) {
  trace::Call call("_rmdir", path);
  if (replacedFunctions) return call.Result(replacedFunctions->rmdir(path));
  return call.Result(windows::RuntimeResult(windows::RemoveDirectory(path)));
}
