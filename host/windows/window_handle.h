#pragma once

// The type of a window's handle, without the rest of the Windows functions.
#if defined(_WIN32)
struct HWND__;
typedef struct HWND__* HWND;
#else
#include "host/windows/types.h"
#endif
