#pragma once

#include <string_view>

#include "host/windows/windows.h"

namespace commands {

// Where a walk through a tree stands. Its paths grow in two texts, of which the host is told how
// much leads to the directory of the search, and to the directory made for it (none: an empty
// text), so that no path need be read from its beginning for each entry. Nothing else depends on
// it. To be told anew before a text moves, and whenever the walk goes to another level; a null
// search tells that nothing holds any more.
void StandAt(HANDLE search, std::string_view source, std::string_view target);

}  // namespace commands
