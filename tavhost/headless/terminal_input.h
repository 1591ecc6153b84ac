#pragma once

#include <string>

namespace ui {

enum class LineOutcome { kLine, kEnd, kStopped };

// Reads a line of standard input, without its line end. A stop request ends the wait.
LineOutcome ReadTerminalLine(std::string& line);

}  // namespace ui
