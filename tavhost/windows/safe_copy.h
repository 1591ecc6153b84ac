#pragma once

#include "tavhost/windows/walk.h"

// Copies that never show a half-written file: the new contents are written under a temporary name
// in the target's folder, every write and the closing checked, and renamed to the target at the
// end. Whatever fails, and wherever the process dies, the target is absent, old or complete.
namespace windows {

struct CopyOptions {
  bool replace = false;         // an existing target; otherwise it makes the copy fail
  bool keepAttributes = false;  // also the read-only attribute and the modification time
  bool followLink = false;      // copy what the link stands for, not the link
  bool synced = false;          // on the disk before the target appears
  // The source goes afterwards: the copy has its owner (as far as this user may give it), mode and
  // times.
  bool move = false;
};

// False with errno set. The target is refused when it is the source itself, a directory, no plain
// file, read-only, or open for writing by the host; a file that is replaced keeps owner and mode.
// Ends with stop::Stopped when a stop is asked for.
bool CopyFile(const Place& from, const Place& to, const CopyOptions& options);

// The names in the folder in which the place lies are on the disk when this returns.
bool SyncFolderOf(const Place& place);

}  // namespace windows
