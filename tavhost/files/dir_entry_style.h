#pragma once

#include "host/base/string.h"

// What paths look like on this system.
namespace dir_entry {

extern const char kSeparator;

// A path from the root on, a drive's or the file system's. False when the current directory is
// gone.
bool MakeAbsolute(SV::String& path);

// "C:" in "C:name": a name without a separator that yet lies in a directory of its own.
long DriveLength(const SV::String& path);

}  // namespace dir_entry
