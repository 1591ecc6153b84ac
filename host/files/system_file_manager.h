#pragma once

#include "host/base/string.h"
#include "host/export.h"

// Whole files and names of temporary ones.
class TAV_HOST_API TavSystemFileManager {
 public:
  // Reads a whole file of the file system or the database file area; no byte is converted, binary
  // or not. 0 on success; 1 not found, 2 cannot be read, 4 over 2147483647 bytes; `contents` is
  // then empty. Throws std::bad_alloc when there is no memory for it.
  static long readStringFromFile(SV::String& contents, const SV::String& path, bool binary);
  // Makes an empty file with a new name, readable by its owner only, in the folder for temporary
  // files, and returns its path; empty on failure. `second` is not used.
  static SV::String fileCreateTempName(const char* prefix, const char* second);
};
