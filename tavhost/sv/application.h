#pragma once

#include "host/sv/forward.h"

// What the host tells SV::Application, which plug-ins ask: the main window and the program's font.
// Both may be null; neither is owned. The font comes by a function, since making it asks the user
// interface and most scripts never need it.
namespace application {

void SetAppWindow(SV::Window* window);
void SetAppFont(const SV::Font& (*font)());

}  // namespace application
