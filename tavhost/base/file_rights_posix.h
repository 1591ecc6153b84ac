#pragma once

#include <sys/stat.h>

// What a file or folder is besides its contents, for one that takes its place or is its copy. All
// of it is given when all of the file is written, the mode last: until then it must be its owner's
// alone. `status` is that of the open file `model`, which may be opened by O_PATH. False with errno
// set.
namespace base {

// Gives `file` owner, group, extended attributes, access list and mode of the model, or fails:
// EPERM when this user may not give them.
bool TakeRights(int file, int model, const struct stat& status);

// As far as this user may give them and the file system has them. Where the group cannot be given,
// the group and all others may do what both might do before; nobody may do more. A file that gets
// another owner loses its set-id bits.
bool TakeRightsAsFarAsAllowed(int file, int model, const struct stat& status);

// Gives a moved file what programs started from it may do, as far as this user may give it and the
// file system has it. Not for one that gets other contents: the system takes this from a file that
// is written.
bool TakeCapabilities(int file, int model);

}  // namespace base
