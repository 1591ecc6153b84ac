#include "tavhost/app/stack_room.h"

#include <tl/expected.hpp>

namespace app {

// The program's file says how large it is, and no caller takes from it.
base::Result<void> TakeStackRoom() { return {}; }

}  // namespace app
