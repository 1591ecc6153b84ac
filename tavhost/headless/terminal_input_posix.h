#pragma once

#include "tavhost/headless/terminal_input.h"

namespace ui {

// Waits until standard input has bytes or has ended (kLine: reading it will not wait), a stop is
// asked for, at whatever moment, or waiting fails (kEnd). A terminal that hangs up meanwhile, and a
// reader of standard output that goes, are told by the signal SIGHUP.
LineOutcome WaitForTerminalInput();

}  // namespace ui
