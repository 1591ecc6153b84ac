#pragma once

#include "host/export.h"
#include "host/windows/types.h"

inline constexpr UINT EM_SCROLLCARET = 0x00B7;

// Sends a message to a window and returns its answer; 0 for a handle that no window has. Text
// controls understand EM_SCROLLCARET, which brings the end of the selection into view.
TAV_HOST_API LRESULT SendMessageA(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
