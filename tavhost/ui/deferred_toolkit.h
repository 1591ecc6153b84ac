#pragma once

#include <functional>
#include <memory>

#include "tavhost/ui/toolkit.h"

namespace ui {

// A toolkit that stands in for a real one until something is needed that only that one has, so
// that a run without windows does not pay for them. Until then, and for good when the real one
// cannot be made, `substitute` does the work.
std::unique_ptr<Toolkit> DeferToolkit(std::unique_ptr<Toolkit> substitute,
                                      std::function<std::unique_ptr<Toolkit>()> make);

}  // namespace ui
