#pragma once

#include "host/export.h"
#include "host/sv/forward.h"

// The window above which a dialog opens now: the dialog opened last that is still open, else the
// work window. The argument is 0.
TAV_HOST_API SV::Window* Tav_GetTopWindow(unsigned long which);

// Put a window on the stack of open dialogs, and take it off wherever it stands there.
TAV_HOST_API void Tav_PushParentWindow(SV::Window* window);
TAV_HOST_API void Tav_PopParentWindow(SV::Window* window);
