#include "tavhost/base/file_rights_posix.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <string_view>
#include <vector>

#include "tavhost/base/access_list_posix.h"
#include "tavhost/base/extended_attributes_posix.h"
#include "tavhost/base/uninterrupted_posix.h"

namespace base {

namespace {

constexpr mode_t kModeBits = 07777;
constexpr mode_t kSetIdBits = S_ISUID | S_ISGID;
// What is made in a folder gets this list of the folder's.
constexpr const char* kListForNewFiles = "system.posix_acl_default";

// The system gives a new file these by itself; an access list is no text like others.
bool IsGivenOtherwise(std::string_view attribute) {
  return attribute.starts_with("security.") || attribute == "system.posix_acl_access";
}

bool SetMode(int file, mode_t mode) {
  return Uninterrupted([&] { return fchmod(file, mode); }) == 0;
}

bool SetOwner(int file, uid_t user, gid_t group) {
  return Uninterrupted([&] { return fchown(file, user, group); }) == 0;
}

// Whether all could be taken.
bool TakeAttributes(int file, int model, bool isFolder) {
  const auto names = AttributesOf(model);
  if (!names) return errno == ENOTSUP || errno == ENOSYS;
  bool areTaken = true;
  for (const std::string& name : *names) {
    if (IsGivenOtherwise(name)) continue;
    const auto value = ReadAttribute(model, name.c_str());
    areTaken &= value && WriteAttribute(file, name.c_str(), *value);
  }
  if (isFolder && std::find(names->begin(), names->end(), kListForNewFiles) == names->end()) {
    areTaken &= RemoveAttribute(file, kListForNewFiles);
  }
  return areTaken;
}

}  // namespace

bool TakeRights(int file, int model, const struct stat& status) {
  struct stat now;
  AccessList list;
  if (StatusOf(file, now) != 0 || !list.Read(model)) return false;
  const bool hasOwner = now.st_uid == status.st_uid && now.st_gid == status.st_gid;
  if (!hasOwner && !SetOwner(file, status.st_uid, status.st_gid)) return false;
  if (!TakeAttributes(file, model, S_ISDIR(status.st_mode)) || !list.Give(file)) {
    errno = EPERM;
    return false;
  }
  return SetMode(file, status.st_mode & kModeBits);
}

bool TakeRightsAsFarAsAllowed(int file, int model, const struct stat& status) {
  struct stat now;
  AccessList list;
  if (StatusOf(file, now) != 0 || !list.Read(model)) return false;
  bool hasOwner = now.st_uid == status.st_uid;
  bool hasGroup = now.st_gid == status.st_gid;
  if (!hasOwner || !hasGroup) {
    const bool areGiven = SetOwner(file, status.st_uid, status.st_gid);
    hasOwner |= areGiven;
    hasGroup = areGiven || hasGroup || SetOwner(file, static_cast<uid_t>(-1), status.st_gid);
  }
  TakeAttributes(file, model, S_ISDIR(status.st_mode));
  mode_t mode = status.st_mode & kModeBits;
  // A folder's only say what group its files get.
  const bool runsAsOther = !S_ISDIR(status.st_mode) && !hasOwner;
  if (runsAsOther || !hasGroup) mode &= ~kSetIdBits;
  if (!hasGroup) {
    mode = list.IsEmpty() ? WithoutGroup(mode) : mode;
    list.GiveUpGroup();
  }
  const bool isGiven = list.Give(file);
  if (!isGiven && list.IsEmpty()) return false;
  if (list.IsEmpty()) return SetMode(file, mode);
  if (!isGiven) return SetMode(file, list.ModeWithout(mode));
  // The list has set the other bits.
  struct stat given;
  return StatusOf(file, given) == 0 &&
         SetMode(file, (mode & ~(S_IRWXU | S_IRWXG | S_IRWXO)) |
                           (given.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO)));
}

bool TakeCapabilities(int file, int model) {
  constexpr const char* kCapabilities = "security.capability";
  const auto value = ReadAttribute(model, kCapabilities);
  if (value && WriteAttribute(file, kCapabilities, *value)) return true;
  // Some belong to a user who has no number here, and are not even told.
  return errno == ENODATA || errno == ENOTSUP || errno == ENOSYS || errno == EPERM ||
         errno == EINVAL || errno == EOVERFLOW;
}

}  // namespace base
