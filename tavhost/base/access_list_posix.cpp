#include "tavhost/base/access_list_posix.h"

#include <endian.h>
#include <linux/posix_acl.h>
#include <linux/posix_acl_xattr.h>

#include <cerrno>
#include <cstring>

#include "tavhost/base/extended_attributes_posix.h"

namespace base {

namespace {

constexpr const char* kAttribute = "system.posix_acl_access";
constexpr mode_t kAll = ACL_READ | ACL_WRITE | ACL_EXECUTE;
constexpr unsigned kGroupShift = 3;

// Calls `use` for each entry with its kind and its rights, which it may change.
template <typename Use>
void ForEachEntry(std::string& bytes, Use use) {
  using Entry = struct posix_acl_xattr_entry;
  for (std::size_t at = sizeof(struct posix_acl_xattr_header); at + sizeof(Entry) <= bytes.size();
       at += sizeof(Entry)) {
    Entry entry;
    std::memcpy(&entry, bytes.data() + at, sizeof entry);
    mode_t rights = le16toh(entry.e_perm);
    use(le16toh(entry.e_tag), rights);
    entry.e_perm = htole16(static_cast<std::uint16_t>(rights));
    std::memcpy(bytes.data() + at, &entry, sizeof entry);
  }
}

// What the entries allow, those under the mask less what that takes away.
struct Allowed {
  mode_t group = 0;  // the file's own
  mode_t others = 0;
  mode_t namedUsers = kAll;  // each of them
  mode_t namedGroups = kAll;
};

Allowed AllowedBy(std::string bytes) {
  Allowed allowed;
  mode_t mask = kAll;
  ForEachEntry(bytes, [&](int kind, mode_t rights) {
    if (kind == ACL_MASK) mask = rights;
    if (kind == ACL_OTHER) allowed.others = rights;
    if (kind == ACL_GROUP_OBJ) allowed.group = rights;
    if (kind == ACL_USER) allowed.namedUsers &= rights;
    if (kind == ACL_GROUP) allowed.namedGroups &= rights;
  });
  allowed.group &= mask;
  if (allowed.namedUsers != kAll) allowed.namedUsers &= mask;
  if (allowed.namedGroups != kAll) allowed.namedGroups &= mask;
  return allowed;
}

}  // namespace

bool AccessList::Read(int file) {
  bytes_.clear();
  const auto read = ReadAttribute(file, kAttribute);
  if (read) bytes_ = *read;
  return read || errno == ENODATA || errno == ENOTSUP || errno == ENOSYS;
}

void AccessList::GiveUpGroup() {
  const Allowed allowed = AllowedBy(bytes_);
  const mode_t both = allowed.group & allowed.others;
  ForEachEntry(bytes_, [&](int kind, mode_t& rights) {
    if (kind == ACL_OTHER) rights = both;
    // Whoever is in a group that is named had that group's rights.
    if (kind == ACL_GROUP_OBJ) rights = both & allowed.namedGroups;
  });
}

bool AccessList::Give(int file) const {
  if (!bytes_.empty()) return WriteAttribute(file, kAttribute, bytes_);
  return RemoveAttribute(file, kAttribute);
}

mode_t AccessList::ModeWithout(mode_t mode) const {
  if (bytes_.empty()) return mode;
  const Allowed allowed = AllowedBy(bytes_);
  const mode_t group = allowed.group & allowed.namedUsers & allowed.namedGroups;
  const mode_t others = allowed.others & group;
  return (mode & ~(S_IRWXG | S_IRWXO)) | group << kGroupShift | others;
}

mode_t WithoutGroup(mode_t mode) {
  const mode_t both = mode >> kGroupShift & mode & S_IRWXO;
  return (mode & ~(S_IRWXG | S_IRWXO)) | both << kGroupShift | both;
}

}  // namespace base
