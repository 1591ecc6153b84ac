#pragma once

#include "host/export.h"
#include "host/windows/types.h"

inline constexpr DWORD QS_ALLEVENTS = 0x04BF;
inline constexpr DWORD WAIT_TIMEOUT = 258;
inline constexpr DWORD WAIT_OBJECT_0 = 0;
inline constexpr DWORD WAIT_FAILED = 0xFFFFFFFF;

// Waits for an event of the user interface, for at most `milliseconds`, and handles none. Handles
// cannot be waited for here (`count` must be 0).
TAV_HOST_API DWORD MsgWaitForMultipleObjectsEx(DWORD count, const HANDLE* handles,
                                               DWORD milliseconds, DWORD wakeMask, DWORD flags);
