#pragma once

#include <string>

namespace ui {

enum class LineOutcome { kLine, kEnd, kStopped };

// Reads a line of standard input, without its line end. A stop request ends the wait. Every
// part of the program that reads lines calls this one: what was read beyond a line is kept here for
// the next.
LineOutcome ReadTerminalLine(std::string& line);

}  // namespace ui
