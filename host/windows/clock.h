#pragma once

#include "host/export.h"
#include "host/windows/types.h"

// Milliseconds of a clock that never goes back; wraps around after 2^32 of them.
TAV_HOST_API DWORD GetTickCount();
