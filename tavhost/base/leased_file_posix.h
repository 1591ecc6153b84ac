#pragma once

#include <sys/types.h>

namespace base {

// Opens a file that another program holds by a lease, as servers of files do: asked for it, that
// program gives it back, or the system takes it away after the time that it grants. Waits so long
// at most, and no longer than a stop lets it; as openat then, which fails with EWOULDBLOCK.
int OpenLeased(int directory, const char* name, int flags, mode_t mode);

}  // namespace base
