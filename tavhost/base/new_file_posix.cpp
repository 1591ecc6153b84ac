#include "tavhost/base/new_file_posix.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <string_view>

#include "tavhost/base/uninterrupted_posix.h"

namespace base {

bool RenameWithoutReplacing(int fromDirectory, const char* from, int toDirectory, const char* to) {
  const int renamed = Uninterrupted(
      [&] { return renameat2(fromDirectory, from, toDirectory, to, RENAME_NOREPLACE); });
  if (renamed == 0) return true;
  if (errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP) return false;
  return MoveBySecondName(fromDirectory, from, toDirectory, to);  // the file system lacks this
}

bool MoveBySecondName(int fromDirectory, const char* from, int toDirectory, const char* to) {
  // This never replaces anything either.
  if (Uninterrupted([&] { return linkat(fromDirectory, from, toDirectory, to, 0); }) != 0) {
    return false;
  }
  // The old name may have become another file's meanwhile, which must not be removed.
  struct stat linked;
  struct stat old;
  const bool same = StatusAt(toDirectory, to, linked, AT_SYMLINK_NOFOLLOW) == 0 &&
                    StatusAt(fromDirectory, from, old, AT_SYMLINK_NOFOLLOW) == 0 &&
                    linked.st_dev == old.st_dev && linked.st_ino == old.st_ino;
  if (same && UnlinkAt(fromDirectory, from, 0) == 0) return true;
  const int error = same ? errno : EBUSY;
  UnlinkAt(toDirectory, to, 0);
  errno = error;
  return false;
}

bool FolderSync::Open(int directory, const char* path) {
  folder_ = Descriptor(OpenAt(directory, path, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return folder_.IsOpen() || errno == EACCES || errno == EPERM;
}

bool FolderSync::Sync() const {
  return !folder_.IsOpen() || Uninterrupted([this] { return fsync(folder_.Get()); }) == 0 ||
         errno == EINVAL || errno == ENOTSUP;
}

bool SyncFolder(int directory, const char* path) {
  FolderSync folder;
  return folder.Open(directory, path) && folder.Sync();
}

NewFile::~NewFile() {
  const int error = errno;
  file_.Close();
  if (exists_) UnlinkAt(directory_, name_.c_str(), 0);
  errno = error;
}

void NewFile::MakeName() {
  static std::atomic<unsigned> number{0};
  const std::string_view target = target_;
  const std::string folder(target.substr(0, target.rfind('/') + 1));
  do {
    name_ =
        folder + ".tavhost-" + std::to_string(getpid()) + '-' + std::to_string(++number) + ".tmp";
    // A file left behind by a process of the same number may be what is copied.
  } while (name_ == target);
}

bool NewFile::Create(mode_t mode) {
  do {
    MakeName();
    file_ = base::Descriptor(openat(directory_, name_.c_str(),
                                    O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, mode));
  } while (!file_.IsOpen() && (errno == EEXIST || errno == EINTR));
  return exists_ = file_.IsOpen();
}

bool NewFile::CreateLink(const char* text) {
  int made;
  do {
    MakeName();
    made = Uninterrupted([&] { return symlinkat(text, directory_, name_.c_str()); });
  } while (made != 0 && errno == EEXIST);
  return exists_ = made == 0;
}

bool NewFile::TakeFreeName() {
  const bool named = RenameWithoutReplacing(directory_, name_.c_str(), directory_, target_);
  exists_ = !named;
  return named;
}

bool NewFile::TakeFreeNameBesides() {
  if (MoveBySecondName(directory_, name_.c_str(), directory_, target_)) {
    exists_ = false;
    return true;
  }
  return errno != EEXIST && TakeFreeName();  // not every file system has second names
}

bool NewFile::ReplaceName() {
  const bool named = Uninterrupted([this] {
                       return renameat(directory_, name_.c_str(), directory_, target_);
                     }) == 0;
  exists_ = !named;
  return named;
}

}  // namespace base
