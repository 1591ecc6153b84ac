#include "tavhost/windows/safe_copy.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tavhost/windows/open_files.h"

namespace windows {

namespace {

// Up to here one read and one write take less time than a copy inside the kernel.
constexpr std::size_t kSmall = std::size_t{256} << 10;

char buffer[kSmall];  // the user-interface thread's

// Goes on after short and interrupted writes. A write that takes nothing counts as a full disk, or
// this could go on for ever.
bool WriteAll(int file, const char* data, std::size_t length) {
  while (length > 0) {
    const ssize_t written = write(file, data, length);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) {
      if (written == 0) errno = ENOSPC;
      return false;
    }
    data += written;
    length -= static_cast<std::size_t>(written);
  }
  return true;
}

// What is left of the source from its present position on.
bool CopyByBuffer(int from, int to, std::uint64_t size) {
  std::uint64_t copied = 0;
  while (true) {
    const ssize_t bytes = read(from, buffer, sizeof buffer);
    if (bytes < 0 && errno == EINTR) continue;
    if (bytes < 0) return false;
    if (bytes == 0) return true;
    if (!WriteAll(to, buffer, static_cast<std::size_t>(bytes))) return false;
    copied += static_cast<std::uint64_t>(bytes);
    if (copied == size) return true;  // the end, without asking once more
  }
}

// Errors that say only that the system cannot copy between these two files by itself.
bool IsKernelCopyRefused(int error) {
  return error == EXDEV || error == EINVAL || error == ENOSYS || error == EOPNOTSUPP ||
         error == EPERM || error == ETXTBSY || error == EBADF;
}

bool CopyContents(int from, int to, std::uint64_t size) {
  std::uint64_t copied = 0;
  while (size > kSmall && copied < size) {
    const ssize_t bytes = copy_file_range(from, nullptr, to, nullptr,
                                          std::min<std::uint64_t>(size - copied, 1u << 30), 0);
    if (bytes < 0 && errno == EINTR) continue;
    if (bytes < 0 && !IsKernelCopyRefused(errno)) return false;
    if (bytes <= 0) break;
    copied += static_cast<std::uint64_t>(bytes);
  }
  return (size > 0 && copied == size) || CopyByBuffer(from, to, size - copied);
}

// Whether a copy may take the place of what stands at the target.
bool MayReplace(const Place& to, const struct stat& target, FileId source) {
  if (S_ISDIR(target.st_mode)) {
    errno = EISDIR;
    return false;
  }
  struct stat reached = target;
  if (S_ISLNK(target.st_mode) && fstatat(to.Directory(), to.Name(), &reached, 0) != 0) {
    return true;  // a link to nothing
  }
  if (IdOf(target) == source || IdOf(reached) == source || IsOpenFile(IdOf(target))) {
    errno = EBUSY;
    return false;
  }
  if (!S_ISREG(target.st_mode) && !S_ISLNK(target.st_mode)) {
    errno = EEXIST;
    return false;
  }
  if (IsReadOnly(target)) {
    errno = EACCES;
    return false;
  }
  return true;
}

// A target that is not there is fine. Should something appear there meanwhile, the rename sees it.
bool CheckTarget(const Place& to, FileId source, bool replace) {
  struct stat target;
  if (fstatat(to.Directory(), to.Name(), &target, AT_SYMLINK_NOFOLLOW) != 0) {
    return errno == ENOENT;
  }
  if (!replace) {
    errno = EEXIST;
    return false;
  }
  return MayReplace(to, target, source);
}

bool CopyLink(const Place& from, const Place& to, const CopyOptions& options) {
  struct stat link;
  char text[PATH_MAX];
  if (!from.Status(link)) return false;
  const ssize_t length = readlinkat(from.Directory(), from.Name(), text, sizeof text - 1);
  if (length < 0) return false;
  text[length] = '\0';
  NewFile copy(to);
  return copy.CreateLink(text) && copy.Publish(options.replace, IdOf(link));
}

}  // namespace

bool CopyFile(const Place& from, const Place& to, const CopyOptions& options) {
  // A pipe or device must not be waited for.
  const int follow = options.followLink ? 0 : O_NOFOLLOW;
  Descriptor source(
      openat(from.Directory(), from.Name(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | follow));
  if (!source.IsOpen()) return errno == ELOOP && follow && CopyLink(from, to, options);
  struct stat status;
  if (fstat(source.Get(), &status) != 0) return false;
  if (!S_ISREG(status.st_mode)) {
    errno = EINVAL;
    return false;
  }
  // Publishing looks at the target anyway. A long copy looks before, too, so as not to work in
  // vain.
  const bool isLong = status.st_size > static_cast<off_t>(kSmall);
  if (isLong && !CheckTarget(to, IdOf(status), options.replace)) return false;
  const mode_t mode = status.st_mode & 0777;
  NewFile copy(to);
  if (!copy.Create(options.keepAttributes ? mode : mode | S_IWUSR)) return false;
  if (!CopyContents(source.Get(), copy.Descriptor(), static_cast<std::uint64_t>(status.st_size))) {
    return false;
  }
  if (options.keepAttributes) {
    const struct timespec times[2] = {{0, UTIME_OMIT}, status.st_mtim};
    if (futimens(copy.Descriptor(), times) != 0) return false;
  }
  if (options.sync && fsync(copy.Descriptor()) != 0) return false;
  return copy.Close() && copy.Publish(options.replace, IdOf(status));
}

bool RenameWithoutReplacing(int fromDirectory, const char* from, int toDirectory, const char* to) {
  if (renameat2(fromDirectory, from, toDirectory, to, RENAME_NOREPLACE) == 0) return true;
  if (errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP) return false;
  // The file system lacks this. A second name for the file never replaces anything either, and the
  // old name goes afterwards.
  if (linkat(fromDirectory, from, toDirectory, to, 0) != 0) return false;
  // The old name may have become another file's meanwhile, which must not be removed.
  struct stat linked;
  struct stat old;
  const bool same = fstatat(toDirectory, to, &linked, AT_SYMLINK_NOFOLLOW) == 0 &&
                    fstatat(fromDirectory, from, &old, AT_SYMLINK_NOFOLLOW) == 0 &&
                    IdOf(linked) == IdOf(old);
  if (same && unlinkat(fromDirectory, from, 0) == 0) return true;
  const int error = same ? errno : EBUSY;
  unlinkat(toDirectory, to, 0);
  errno = error;
  return false;
}

NewFile::NewFile(const Place& to) : to_(to) {}

NewFile::~NewFile() {
  const int error = errno;
  file_.Close();
  if (exists_) unlinkat(to_.Directory(), name_, 0);
  errno = error;
}

bool NewFile::MakeName() {
  static const long process = getpid();
  static unsigned number = 0;
  const char* slash = std::strrchr(to_.Name(), '/');
  const int folder = slash ? static_cast<int>(slash + 1 - to_.Name()) : 0;
  int length;
  do {
    length = std::snprintf(name_, sizeof name_, "%.*s.tavhost-%ld-%u.tmp", folder, to_.Name(),
                           process, ++number);
    // A file left behind by a process of the same number may be what is copied.
  } while (std::strcmp(name_, to_.Name()) == 0);
  if (length < static_cast<int>(sizeof name_)) return true;
  errno = ENAMETOOLONG;
  return false;
}

bool NewFile::Create(mode_t mode) {
  do {
    if (!MakeName()) return false;
    file_ = windows::Descriptor(
        openat(to_.Directory(), name_, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, mode));
  } while (!file_.IsOpen() && errno == EEXIST);
  return exists_ = file_.IsOpen();
}

bool NewFile::CreateLink(const char* text) {
  int made;
  do {
    if (!MakeName()) return false;
    made = symlinkat(text, to_.Directory(), name_);
  } while (made != 0 && errno == EEXIST);
  return exists_ = made == 0;
}

bool NewFile::Publish(bool replace, FileId source) {
  bool named = RenameWithoutReplacing(to_.Directory(), name_, to_.Directory(), to_.Name());
  if (!named && errno == EEXIST && replace && CheckTarget(to_, source, true)) {
    named = renameat(to_.Directory(), name_, to_.Directory(), to_.Name()) == 0;
  }
  exists_ = !named;
  return named;
}

}  // namespace windows
