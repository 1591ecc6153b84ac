#include "tavhost/windows/standing.h"

#include "host/windows/files.h"
#include "tavhost/windows/file_functions.h"
#include "tavhost/windows/walk.h"

void Tav_StandAt(HANDLE search, const char* source, unsigned long sourceLength, const char* target,
                 unsigned long targetLength) {
  // What replaces the functions reads each path from its beginning.
  if (windows::replacedFunctions) search = nullptr;
  windows::standing = {search, source, sourceLength, target, targetLength};
}

BOOL Tav_FinishDirectory() {
  // What replaces the functions makes no directories.
  return BOOL{windows::replacedFunctions || windows::FinishMade()};
}
