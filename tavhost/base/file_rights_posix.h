#pragma once

#include <sys/stat.h>

// What a file is besides its contents, for one that takes its place or is its copy. False with
// errno set.
namespace base {

// Gives `file` owner, group, access list and mode of the open file `model`, or fails: EPERM when
// this user may not give them.
bool TakeRights(int file, int model, const struct stat& status);

// Gives `file` owner and mode as far as this user may. What the group was allowed goes where the
// group itself cannot be given.
bool TakeOwnerAndMode(int file, const struct stat& status);

// Extended attributes, access lists among them.
bool TakeExtendedAttributes(int file, int model);

}  // namespace base
