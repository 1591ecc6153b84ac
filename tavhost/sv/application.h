#pragma once

#include "host/sv/forward.h"

// What the host tells the application object. Both may be null; neither is owned. The font is
// asked for when it is first needed.
namespace application {

void SetAppWindow(SV::Window* window);
void SetAppFont(const SV::Font& (*font)());

}  // namespace application
