#pragma once

#include <sys/stat.h>

#include <string>

namespace base {

// Who may do what with a file beyond what its mode says: single users and groups. Where a file has
// such a list, the mode's bits for the group are the most that any of them may do, and say nothing
// of the file's own group. False is returned with errno set.
class AccessList {
 public:
  // That of an open file; empty when it has none. False when it cannot be told.
  bool Read(int file);
  bool IsEmpty() const { return bytes_.empty(); }

  // The file gets another group: the new one and all others may do what both might do before.
  void GiveUpGroup();
  // Makes it the file's, together with the bits of the mode that it holds; an empty one takes away
  // what the file got from its folder.
  bool Give(int file) const;

  // Permissions for a file without the list, which let nobody do more than the list does. `mode` is
  // that of the file from which it was read.
  mode_t ModeWithout(mode_t mode) const;

 private:
  std::string bytes_;  // as the system keeps it
};

// That of a file that gets another group, likewise.
mode_t WithoutGroup(mode_t mode);

}  // namespace base
