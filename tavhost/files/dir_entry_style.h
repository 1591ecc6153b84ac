#pragma once

#include "host/base/string.h"

// What paths look like on this system.
namespace dir_entry {

extern const char kSeparator;

// A path from the root on, a drive's or the file system's. False when the current directory is
// gone.
bool MakeAbsolute(SV::String& path);

// The length of a drive in front: 2 for "C:name", which means a name in the drive's own current
// directory although no separator says so. 0 where there are no drives.
long DriveLength(const SV::String& path);

}  // namespace dir_entry
