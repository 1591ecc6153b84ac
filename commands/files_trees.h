#pragma once

#include "host/base/string.h"

// Operations on all that a pattern names, directories with everything in them. They stop at the
// first entry that fails, undo nothing, and return the outcome of the entry handled last; false
// too when nothing matches. A link is handled as itself and never followed.
namespace commands {

bool DeleteTree(const SV::String& pattern);

struct CopyFlags {
  bool keepExistingFiles = false;    // an existing file makes the copy fail
  bool fillExistingFolders = false;  // otherwise an existing directory does
};

// `target` is an existing directory.
bool CopyTree(const SV::String& pattern, const SV::String& target, CopyFlags flags);
bool MoveTree(const SV::String& pattern, const SV::String& target);

// Whether the pattern finds nothing but "." and "..". False when it cannot be searched for;
// `isEmpty` is then true.
bool TestDirectoryEmpty(const SV::String& pattern, bool& isEmpty);

}  // namespace commands
