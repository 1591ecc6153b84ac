#include "tavhost/base/event_loop.h"
#include "tavhost/ui/current_toolkit.h"

#include <cassert>
#include <utility>

namespace ui {

namespace {
std::unique_ptr<Toolkit> current;
}

Toolkit& CurrentToolkit() {
  assert(current);
  return *current;
}

bool HasToolkit() { return current != nullptr; }

void SetToolkit(std::unique_ptr<Toolkit> toolkit) {
  event_loop::SetLoop(toolkit.get());
  current = std::move(toolkit);
}

}  // namespace ui
