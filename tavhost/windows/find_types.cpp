#include "tavhost/windows/find_types.h"

#include "host/windows/files.h"

namespace {
bool typesAreEnough = false;
}  // namespace

namespace windows {
bool AreTypesEnough() { return typesAreEnough; }
}  // namespace windows

void Tav_FindTypesOnly(bool on) { typesAreEnough = on; }
