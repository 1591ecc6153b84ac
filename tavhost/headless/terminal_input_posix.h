#pragma once

#include "tavhost/headless/terminal_input.h"

namespace ui {

// Waits until standard input has bytes or has ended (kLine: reading it will not wait), a stop is
// asked for, at whatever moment, or waiting fails (kEnd).
LineOutcome WaitForTerminalInput();

}  // namespace ui
