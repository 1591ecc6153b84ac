#pragma once

#include <string>

#include "tavhost/base/result.h"

namespace app {

// Sees to it that the thread of commands has the stack that the deepest nesting takes which scripts
// and data may have, also where the caller has limited it to less. Fails, with a whole sentence,
// when the system does not give it.
base::Result<void> TakeStackRoom();

}  // namespace app
