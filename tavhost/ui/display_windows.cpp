#include <cstdlib>
#include <tl/expected.hpp>

#include "tavhost/ui/display.h"

namespace ui {

bool HasDisplay() { return true; }
base::Result<void> CheckDisplay() { return {}; }

std::string_view WantedPlatform() {
  const char* const value = std::getenv("QT_QPA_PLATFORM");
  return value ? value : "";
}

bool IsPlatformSure() {
  const std::string_view platform = WantedPlatform();
  return platform.empty() || platform == "windows" || platform == "offscreen" ||
         platform == "minimal";
}

}  // namespace ui
