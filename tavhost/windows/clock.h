#pragma once

#include "host/windows/types.h"

// Where GetTickCount gets its ticks, which are milliseconds. Without a source they are those of the
// monotonic clock and some hours more, so that scripts do not see a counter near 0 only because the
// machine has just started. The environment variable TAVHOST_TICK_START, a number, is what the
// first call returns instead. A source gives the ticks one by one, where a test says what the time
// is.
namespace windows_clock {

using TickSource = DWORD (*)();

// Null: the clock again.
void SetTickSource(TickSource source);

}  // namespace windows_clock
