#include <tl/expected.hpp>

#include "tavhost/ui/display.h"

namespace ui {

bool HasDisplay() { return true; }
base::Result<void> CheckDisplay() { return {}; }

}  // namespace ui
