#include "commands/files_copy.h"

namespace commands {

// The host's function sees to a stop itself.
BOOL CopyFileInSteps(const char* from, const char* to, BOOL failIfExists, LongCommand&) {
  return CopyFileA(from, to, failIfExists);
}

}  // namespace commands
