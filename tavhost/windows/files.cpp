#include "host/windows/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "tavhost/base/ascii.h"
#include "tavhost/base/new_file_posix.h"
#include "tavhost/base/trace.h"
#include "tavhost/base/uninterrupted_posix.h"
#include "tavhost/windows/file_functions.h"
#include "tavhost/windows/file_operations.h"
#include "tavhost/windows/open_files.h"
#include "tavhost/windows/walk.h"

namespace windows {

namespace {

bool Refuse(int error) {
  errno = error;
  return false;
}

DWORD Attributes(const char* text) {
  const Path path(text);
  const Place place(path);
  struct stat status;
  if (!place.IsValid() || !place.Status(status)) return INVALID_FILE_ATTRIBUTES;
  const DWORD attributes = AttributesOf(place.Directory(), place.Name(), status);
  const bool isDirectory = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  return path.HasTrailingSeparator() && !isDirectory ? INVALID_FILE_ATTRIBUTES : attributes;
}

}  // namespace

DWORD AttributesOf(int directory, const char* name, const struct stat& status) {
  if (S_ISDIR(status.st_mode)) return FILE_ATTRIBUTE_DIRECTORY;
  if (S_ISLNK(status.st_mode)) {
    struct stat reached;
    const bool toDirectory =
        base::StatusAt(directory, name, reached, 0) == 0 && S_ISDIR(reached.st_mode);
    return FILE_ATTRIBUTE_REPARSE_POINT | (toDirectory ? FILE_ATTRIBUTE_DIRECTORY : 0);
  }
  return IsReadOnly(status) ? FILE_ATTRIBUTE_READONLY : FILE_ATTRIBUTE_NORMAL;
}

bool DeleteFile(const Path& path) {
  const Place place(path);
  struct stat status;
  if (!place.IsValid() || !place.Status(status)) return false;
  if (path.HasTrailingSeparator()) return Refuse(ENOTDIR);
  if (S_ISDIR(status.st_mode)) return Refuse(EISDIR);
  if (IsReadOnly(status)) return Refuse(EACCES);
  if (IsOpenFile(IdOf(status))) return Refuse(EBUSY);
  return base::UnlinkAt(place.Directory(), place.Name(), 0) == 0;
}

bool CopyFile(const Path& fromPath, const Path& toPath, const CopyOptions& options) {
  const Place from(fromPath);
  const Place to(toPath);
  if (!from.IsValid() || !to.IsValid()) return false;
  if (fromPath.HasTrailingSeparator() || toPath.HasTrailingSeparator()) return Refuse(ENOTDIR);
  return CopyFile(from, to, options) && (!options.synced || SyncFolderOf(to));
}

namespace {

// Whether a directory lists both names: then they are two, even for one file.
bool ListsBoth(int directory, std::string_view first, std::string_view second) {
  EntryList entries;
  if (!entries.Read(directory, first)) return true;
  const auto lists = [&entries](std::string_view name) {
    for (std::size_t i = 0; i < entries.Count(); ++i) {
      if (entries.At(i).name == name) return true;
    }
    return false;
  };
  return lists(first) && lists(second);
}

// The same name in the same directory, perhaps in another case where the file system takes no
// notice of it. Two links to one file, whose names differ in case alone, are two names.
bool IsSameName(const Path& fromPath, const Place& from, const Path& toPath, const Place& to) {
  const std::string_view fromName = fromPath.Name();
  const std::string_view toName = toPath.Name();
  if (!ascii::EqualIgnoringCase(fromName, toName)) return false;
  const Descriptor fromFolder = from.OpenFolder(O_RDONLY);
  const Descriptor toFolder = to.OpenFolder(O_PATH);
  struct stat fromStatus;
  struct stat toStatus;
  return fromFolder.IsOpen() && toFolder.IsOpen() &&
         base::StatusOf(fromFolder.Get(), fromStatus) == 0 &&
         base::StatusOf(toFolder.Get(), toStatus) == 0 && IdOf(fromStatus) == IdOf(toStatus) &&
         (fromName == toName || !ListsBoth(fromFolder.Get(), fromName, toName));
}

bool MoveToOtherFileSystem(const Place& from, const Place& to, const struct stat& source) {
  if (S_ISDIR(source.st_mode)) return Refuse(EXDEV);
  CopyOptions options;
  options.keepAttributes = true;
  options.move = true;
  options.synced = true;
  if (to.IsInMade()) {
    const Descriptor folder = to.OpenFolder(O_PATH);
    if (!folder.IsOpen() || !SyncNamesOfMade(folder.Get())) return false;
  }
  if (!CopyFile(from, to, options)) return false;
  int error = SyncFolderOf(to) ? 0 : errno;
  // What somebody has written meanwhile is not in the copy. Nothing stands between this look and
  // the removal.
  struct stat now;
  const bool same = from.Status(now) && IdOf(now) == IdOf(source) &&
                    now.st_size == source.st_size && now.st_mtim.tv_sec == source.st_mtim.tv_sec &&
                    now.st_mtim.tv_nsec == source.st_mtim.tv_nsec;
  if (error == 0 && same && base::UnlinkAt(from.Directory(), from.Name(), 0) == 0) return true;
  if (error == 0) error = same ? errno : EBUSY;
  base::UnlinkAt(to.Directory(), to.Name(), 0);
  return Refuse(error);
}

bool Rename(const Place& from, const Place& to) {
  if (IsDeep()) {  // not every file can have a second name
    if (base::MoveBySecondName(from.Directory(), from.Name(), to.Directory(), to.Name())) {
      return true;
    }
    if (errno == EXDEV || errno == EEXIST) return false;
  }
  return base::RenameWithoutReplacing(from.Directory(), from.Name(), to.Directory(), to.Name());
}

}  // namespace

bool MoveFile(const Path& fromPath, const Path& toPath) {
  const Place from(fromPath);
  const Place to(toPath);
  if (!from.IsValid() || !to.IsValid()) return false;
  const bool namesDirectory = fromPath.HasTrailingSeparator() || toPath.HasTrailingSeparator();
  struct stat source;
  if (namesDirectory || from.IsKnown() || AreFilesOpen()) {
    if (!from.Status(source)) return false;
    if (namesDirectory && !S_ISDIR(source.st_mode)) return Refuse(ENOTDIR);
    if (IsOpenFile(IdOf(source))) return Refuse(EBUSY);
  }
  if (to.IsInMade()) MoveBegins();
  if (Rename(from, to)) return true;
  const int error = errno;
  if ((error != EXDEV && error != EEXIST) || !from.Status(source)) return Refuse(error);
  if (error == EXDEV) return MoveToOtherFileSystem(from, to, source);
  struct stat target;
  if (!to.Status(target) || IdOf(source) != IdOf(target) ||
      !IsSameName(fromPath, from, toPath, to)) {
    return Refuse(EEXIST);
  }
  return base::Uninterrupted([&] {
           return renameat(from.Directory(), from.Name(), to.Directory(), to.Name());
         }) == 0;
}

}  // namespace windows

using windows::replacedFunctions;

DWORD GetFileAttributesA(LPCSTR path) {
  trace::Call call("GetFileAttributesA", path);
  if (replacedFunctions) return call.Result(replacedFunctions->attributes(path));
  return call.Result(windows::Attributes(path));
}

BOOL DeleteFileA(LPCSTR path) {
  trace::Call call("DeleteFileA", path);
  if (replacedFunctions) return call.Result(replacedFunctions->deleteFile(path));
  return call.Result(BOOL{windows::DeleteFile(windows::Path(path))});
}

BOOL CopyFileA(LPCSTR from, LPCSTR to, BOOL failIfExists) {
  trace::Call call("CopyFileA", from, to, failIfExists);
  if (replacedFunctions) return call.Result(replacedFunctions->copyFile(from, to, failIfExists));
  windows::CopyOptions options;
  options.replace = failIfExists == 0;
  options.keepAttributes = true;
  return call.Result(BOOL{windows::CopyFile(windows::Path(from), windows::Path(to), options)});
}

BOOL MoveFileA(LPCSTR from, LPCSTR to) {
  trace::Call call("MoveFileA", from, to);
  if (replacedFunctions) return call.Result(replacedFunctions->moveFile(from, to));
  return call.Result(BOOL{windows::MoveFile(windows::Path(from), windows::Path(to))});
}
