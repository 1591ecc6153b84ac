#include "commands/files_find.h"

namespace commands {

HANDLE FindTypes(const char* pattern, WIN32_FIND_DATAA* entry) {
  return FindFirstFileA(pattern, entry);
}

}  // namespace commands
