#pragma once

#include <string>

namespace ui {

enum class LineOutcome { kLine, kEnd, kStopped };

// Reads a line of standard input, without its line end. A stop request ends the wait. All in the
// program that reads lines does it here: what was read ahead of one line is kept for the next.
LineOutcome ReadTerminalLine(std::string& line);

}  // namespace ui
