#pragma once

#include "host/export.h"
#include "host/sv/forward.h"

// Hides the window in a way that lets the caller delete it right afterwards. Null and windows that
// are hidden already are left alone.
TAV_HOST_API void Tav_SaveHide(SV::Window* window);
