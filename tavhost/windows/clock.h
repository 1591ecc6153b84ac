#pragma once

#include "host/windows/types.h"

// Where GetTickCount gets its ticks. Without a source they are those of the monotonic clock, some
// hours ahead, so that scripts never see a counter near 0 by chance; the environment variable
// TAVHOST_TICK_START, a number, makes the first tick read that value instead.
namespace windows_clock {

using TickSource = DWORD (*)();

// Null goes back to the clock.
void SetTickSource(TickSource source);

}  // namespace windows_clock
