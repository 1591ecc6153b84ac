#pragma once

#include <memory>

#include "tavhost/ui/toolkit.h"

namespace ui {

// Makes it the toolkit in use, and its events those that event_loop handles. Null takes it away.
void SetToolkit(std::unique_ptr<Toolkit> toolkit);

}  // namespace ui
