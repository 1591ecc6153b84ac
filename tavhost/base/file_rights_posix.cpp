#include "tavhost/base/file_rights_posix.h"

#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string_view>

#include "tavhost/base/uninterrupted_posix.h"

namespace base {

namespace {

constexpr mode_t kModeBits = 07777;
constexpr mode_t kGroupBits = S_IRWXG | S_ISGID;
constexpr mode_t kSpecialBits = S_ISUID | S_ISGID;

// The system gives a new file these by itself.
bool IsGivenBySystem(std::string_view attribute) { return attribute.starts_with("security."); }

bool SetMode(int file, mode_t mode) {
  return Uninterrupted([&] { return fchmod(file, mode); }) == 0;
}

bool SetOwner(int file, uid_t user, gid_t group) {
  return Uninterrupted([&] { return fchown(file, user, group); }) == 0;
}

}  // namespace

bool TakeExtendedAttributes(int file, int model) {
  char names[4096];
  const ssize_t length = flistxattr(model, names, sizeof names);
  if (length < 0) return errno == ENOTSUP || errno == ENOSYS;
  for (const char* name = names; name < names + length; name += std::strlen(name) + 1) {
    if (IsGivenBySystem(name)) continue;
    char value[4096];
    const ssize_t size = fgetxattr(model, name, value, sizeof value);
    if (size < 0 || fsetxattr(file, name, value, static_cast<std::size_t>(size), 0) != 0) {
      return false;
    }
  }
  return true;
}

bool TakeRights(int file, int model, const struct stat& status) {
  struct stat now;
  if (fstat(file, &now) != 0) return false;
  const bool hasOwner = now.st_uid == status.st_uid && now.st_gid == status.st_gid;
  if (!hasOwner && !SetOwner(file, status.st_uid, status.st_gid)) return false;
  if (!TakeExtendedAttributes(file, model)) {
    errno = EPERM;
    return false;
  }
  return SetMode(file, status.st_mode & kModeBits);
}

bool TakeOwnerAndMode(int file, const struct stat& status) {
  struct stat now;
  if (fstat(file, &now) != 0) return false;
  mode_t mode = status.st_mode & kModeBits;
  const bool hasOwner = now.st_uid == status.st_uid && now.st_gid == status.st_gid;
  if (!hasOwner && !SetOwner(file, status.st_uid, status.st_gid)) {
    const bool hasGroup =
        now.st_gid == status.st_gid || SetOwner(file, static_cast<uid_t>(-1), status.st_gid);
    mode &= ~kSpecialBits;
    if (!hasGroup) mode &= ~kGroupBits;
  }
  return SetMode(file, mode);
}

}  // namespace base
