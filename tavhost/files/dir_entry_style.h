#pragma once

#include <string>

#include "host/base/string.h"

// What paths look like on this system.
namespace dir_entry {

extern const char kSeparator;
// Whether the file system takes names that differ in case alone for one.
extern const bool kIgnoresCase;

// Whether a script can mean something by this text as a path, or as a pattern, whose last name may
// hold wildcards.
bool CanBePath(const char* text);
bool CanBePattern(const char* text);

// Where relative paths begin, as far as DirEntry goes, instead of the current directory; empty:
// there again.
void SetCurrentDirectory(const std::string& directory);

// A path from the root on, a drive's or the file system's. False when the current directory is
// gone.
bool MakeAbsolute(SV::String& path);

// The length of a drive in front: 2 for "C:name", which means a name in the drive's own current
// directory although no separator says so. 0 where there are no drives.
long DriveLength(const SV::String& path);

}  // namespace dir_entry
