#pragma once

#include "host/base/string.h"

// Operations on everything that a pattern finds, directories with all that is in them. They stop at
// the first entry that fails, undo nothing of what was done, and return whether the entry handled
// last succeeded; false, too, when the pattern finds nothing. A link is copied, moved or deleted as
// a link and never followed.
namespace commands {

// A pattern is a path whose last part may hold wildcards, as "C:\old\*.log".
bool DeleteTree(const SV::String& pattern);

// What becomes of targets that exist already.
struct CopyFlags {
  bool keepExistingFiles = false;    // an existing file makes the copy fail
  bool fillExistingFolders = false;  // otherwise an existing directory does
};

// `target` is an existing directory.
bool CopyTree(const SV::String& pattern, const SV::String& target, CopyFlags flags);
bool MoveTree(const SV::String& pattern, const SV::String& target);

// Sets `isEmpty` to whether the pattern finds nothing but "." and "..". False when the search
// itself fails; `isEmpty` is then true and means nothing.
bool TestDirectoryEmpty(const char* pattern, bool& isEmpty);

}  // namespace commands
