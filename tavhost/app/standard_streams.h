#pragma once

#include <string>
#include <string_view>

#include "tavhost/base/result.h"

// The program's standard streams. Standard output is buffered unless it is a terminal; messages on
// standard error (tavhost/base/report.h) let what was printed before go out first.
namespace app {

// Before anything is written: bytes go out as they are, on every platform; a closed pipe is a
// write error and no signal; a crash still shows what was printed before it.
void PrepareStandardStreams();

// Writes to standard output. The first failure asks the running script to stop.
void Print(std::string_view text);

// Writes out what is buffered. False when something could not be written, now or before; the
// first such call says so on standard error.
bool FinishOutput();

bool IsInputTerminal();
bool IsOutputTerminal();

// The next line of standard input without its end, shared with dialogs that are answered in the
// terminal. False at its end, and when a stop was asked for.
bool ReadInputLine(std::string& line);

// All that is left of standard input.
base::Result<std::string> ReadStandardInput();

// Platform part of PrepareStandardStreams.
void PreparePlatformStreams();

}  // namespace app
