#include "tavhost/windows/safe_copy.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>

#include <cerrno>
#include <optional>
#include <string>

#include "tavhost/base/access_list_posix.h"
#include "tavhost/base/file_contents_posix.h"
#include "tavhost/base/file_rights_posix.h"
#include "tavhost/base/new_file_posix.h"
#include "tavhost/base/uninterrupted_posix.h"
#include "tavhost/windows/open_files.h"

namespace windows {

namespace {

// Bytes: a copy of more looks at its target before it begins.
constexpr off_t kLong = off_t{256} << 10;
constexpr mode_t kAllWriteBits = S_IWUSR | S_IWGRP | S_IWOTH;

// A link that leads nowhere, or where this user may not look.
bool LeadsNowhere(int error) {
  return error == ENOENT || error == ENOTDIR || error == ELOOP || error == ENAMETOOLONG ||
         error == EACCES;
}

// Whether a copy may take the place of what stands at the target.
bool MayReplace(const Place& to, const struct stat& target, FileId source) {
  if (S_ISDIR(target.st_mode)) {
    errno = EISDIR;
    return false;
  }
  if (IdOf(target) == source || IsOpenFile(IdOf(target))) {
    errno = EBUSY;
    return false;
  }
  struct stat reached = target;
  if (S_ISLNK(target.st_mode) && base::StatusAt(to.Directory(), to.Name(), reached, 0) != 0) {
    return LeadsNowhere(errno);
  }
  if (IdOf(reached) == source) {
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
  if (base::StatusAt(to.Directory(), to.Name(), target, AT_SYMLINK_NOFOLLOW) != 0) {
    return errno == ENOENT;
  }
  if (!replace) {
    errno = EEXIST;
    return false;
  }
  return MayReplace(to, target, source);
}

// Gives the closed new file its name. What stands there already is replaced when it may be by a
// copy of `source`.
bool Publish(base::NewFile& copy, const Place& to, bool replace, FileId source) {
  if (IsDeep() ? copy.TakeFreeNameBesides() : copy.TakeFreeName()) return true;
  return errno == EEXIST && replace && CheckTarget(to, source, true) && copy.ReplaceName();
}

// As far as this user may; a link has no rights of its own that could be opened by that. An owner
// without a number among the users that this program sees cannot be given (EINVAL).
bool GiveOwner(int directory, const char* link, const struct stat& source) {
  for (const uid_t user : {source.st_uid, static_cast<uid_t>(-1)}) {
    const int given = base::Uninterrupted(
        [&] { return fchownat(directory, link, user, source.st_gid, AT_SYMLINK_NOFOLLOW); });
    if (given == 0) return true;
    if (errno != EPERM && errno != EINVAL) return false;
  }
  return true;
}

bool CopyLink(const Place& from, const Place& to, const CopyOptions& options) {
  struct stat link;
  char text[PATH_MAX];
  if (!from.Status(link)) return false;
  const ssize_t length = base::ReadLinkAt(from.Directory(), from.Name(), text, sizeof text - 1);
  if (length < 0) return false;
  text[length] = '\0';
  base::NewFile copy(to.Directory(), to.Name());
  if (!copy.CreateLink(text)) return false;
  if (options.move) {
    const struct timespec times[2] = {link.st_atim, link.st_mtim};
    const char* const name = copy.TemporaryName();
    if (!GiveOwner(to.Directory(), name, link)) return false;
    const int timed = base::Uninterrupted(
        [&] { return utimensat(to.Directory(), name, times, AT_SYMLINK_NOFOLLOW); });
    if (timed != 0) return false;
  }
  return Publish(copy, to, options.replace, IdOf(link));
}

// The plain file that a copy replaces.
struct Replaced {
  Descriptor file;  // not open: there is none
  struct stat status = {};
};

// False when something is there of which nothing can be told: it would lose its mode and its owner.
bool OpenReplaced(const Place& to, Replaced& replaced) {
  constexpr int kFlags = O_NOFOLLOW | O_CLOEXEC;
  for (const int way : {O_RDONLY | O_NONBLOCK | O_NOCTTY, O_PATH}) {
    replaced.file = Descriptor(base::OpenAt(to.Directory(), to.Name(), kFlags | way));
    if (replaced.file.IsOpen() || errno != EACCES) break;
  }
  // A link, or a device without a driver or a pipe's other end: no plain file.
  if (!replaced.file.IsOpen()) return errno == ENOENT || errno == ELOOP || errno == ENXIO;
  if (base::StatusOf(replaced.file.Get(), replaced.status) != 0) return false;
  if (!S_ISREG(replaced.status.st_mode)) replaced.file.Close();
  return true;
}

// What the copy is besides its contents. A file that it replaces keeps what it is, but for the
// read-only attribute where the copy takes that over.
bool GiveRights(int copy, int from, const struct stat& source, const Replaced& replaced,
                const CopyOptions& options) {
  if (options.move) {
    return base::TakeRightsAsFarAsAllowed(copy, from, source) && base::TakeCapabilities(copy, from);
  }
  if (!replaced.file.IsOpen()) return true;
  if (!base::TakeRightsAsFarAsAllowed(copy, replaced.file.Get(), replaced.status)) return false;
  if (!options.keepAttributes || !IsReadOnly(source)) return true;
  struct stat given;
  return base::StatusOf(copy, given) == 0 &&
         base::Uninterrupted(
             [&] { return fchmod(copy, given.st_mode & 07777 & ~kAllWriteBits); }) == 0;
}

// Before anything is written: nobody may read from the copy, while it has its temporary name, what
// they may not read afterwards. Nothing when it cannot be told.
std::optional<mode_t> FirstMode(int from, const struct stat& source, const Replaced& replaced,
                                const CopyOptions& options) {
  if (options.move || replaced.file.IsOpen()) return S_IRUSR | S_IWUSR;
  base::AccessList list;
  if (!list.Read(from)) return std::nullopt;
  const mode_t mode = list.ModeWithout(source.st_mode) & 0777;
  return options.keepAttributes ? mode : mode | S_IWUSR;
}

bool KeepTimes(int copy, const struct stat& source, const CopyOptions& options) {
  const struct timespec unchanged = {0, UTIME_OMIT};
  const struct timespec times[2] = {options.move ? source.st_atim : unchanged, source.st_mtim};
  return base::Uninterrupted([&] { return futimens(copy, times); }) == 0;
}

}  // namespace

bool CopyFile(const Place& from, const Place& to, const CopyOptions& options) {
  // A pipe or device must not be waited for.
  const int follow = options.followLink ? 0 : O_NOFOLLOW;
  Descriptor source(base::OpenAt(from.Directory(), from.Name(),
                                 O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | follow));
  if (!source.IsOpen()) return errno == ELOOP && follow && CopyLink(from, to, options);
  struct stat status;
  if (base::StatusOf(source.Get(), status) != 0) return false;
  if (!S_ISREG(status.st_mode)) {
    errno = EINVAL;
    return false;
  }
  Replaced replaced;
  if (options.replace && !OpenReplaced(to, replaced)) return false;
  // Publishing looks at the target anyway. A long copy looks before, too, so as not to work in
  // vain.
  const bool isLong = status.st_size > kLong;
  if (isLong && !CheckTarget(to, IdOf(status), options.replace)) return false;
  base::NewFile copy(to.Directory(), to.Name());
  const std::optional<mode_t> mode = FirstMode(source.Get(), status, replaced, options);
  if (!mode || !copy.Create(*mode)) return false;
  const int file = copy.Descriptor();
  base::LongWork work("Copying", from.Name());
  base::CopyWay way;
  way.work = &work;
  way.synced = options.synced;
  if (!base::CopyContents(source.Get(), file, static_cast<std::uint64_t>(status.st_size), way) ||
      !GiveRights(file, source.Get(), status, replaced, options)) {
    return false;
  }
  if (options.keepAttributes && !KeepTimes(file, status, options)) return false;
  if (options.synced && base::Uninterrupted([file] { return fsync(file); }) != 0) return false;
  return copy.Close() && Publish(copy, to, options.replace, IdOf(status));
}

bool SyncFolderOf(const Place& place) {
  const std::string_view name = place.Name();
  const auto slash = name.rfind('/');
  const std::string folder = slash == std::string_view::npos ? "."
                             : slash == 0                    ? "/"
                                                             : std::string(name.substr(0, slash));
  return base::SyncFolder(place.Directory(), folder.c_str());
}

}  // namespace windows
