#pragma once

#include "host/base/string.h"
#include "host/export.h"

namespace SV {

enum DirEntryFlag {
  FSYS_FLAG_CURRENT = 3,  // the current directory
};

// The text of a path to a directory or file, which need not exist. Both separators are understood;
// what is given back is in the system's style.
class TAV_HOST_API DirEntry {
 public:
  DirEntry(const String& pattern);
  DirEntry(DirEntryFlag flag);

  // The part in front of the last separator; the current directory when there is none.
  DirEntry GetPath() const;
  String GetFull() const;
  // Puts the current directory in front of a relative path; false when there is none.
  bool ToAbs();

 private:
  String text_;
};

}  // namespace SV
