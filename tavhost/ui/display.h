#pragma once

#include <string_view>

#include "host/export.h"
#include "tavhost/base/result.h"

namespace ui {

// Whether the environment names a display. That need not answer, and the module with windows may be
// absent.
TAV_HOST_API bool HasDisplay();

// Whether windows can be made where they would be: the display answers, or none is needed since
// they are only drawn, and the program can open what they need. Fails with what is wrong. Takes as
// long as connecting does; what makes windows would end the program where it cannot.
base::Result<void> CheckDisplay();

// The platform of windows that the environment asks for; empty: whichever fits the display.
std::string_view WantedPlatform();
// Whether that can start wherever CheckDisplay finds nothing wrong. Any other one may end the
// program instead: it is tried in another process first.
bool IsPlatformSure();

}  // namespace ui
