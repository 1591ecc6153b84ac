#pragma once

#include "host/export.h"
#include "host/sv/forward.h"

// Hides the window so that it may be deleted at once; null and hidden windows are left alone.
TAV_HOST_API void Tav_SaveHide(SV::Window* window);
