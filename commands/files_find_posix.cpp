#include "commands/files_find.h"

namespace commands {

namespace {

struct TypesOnly {
  TypesOnly() { Tav_FindTypesOnly(true); }
  ~TypesOnly() { Tav_FindTypesOnly(false); }
};

}  // namespace

// Whether each file is read-only takes a look at each, which is most of the time of a long list.
HANDLE FindTypes(const char* pattern, WIN32_FIND_DATAA* entry) {
  const TypesOnly typesOnly;
  return FindFirstFileA(pattern, entry);
}

}  // namespace commands
