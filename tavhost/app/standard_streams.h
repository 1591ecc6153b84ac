#pragma once

#include <string>
#include <string_view>

#include "tavhost/base/result.h"

// The program's standard streams. Standard output is buffered unless it is a terminal; messages on
// standard error (tavhost/base/report.h) let what was printed before go out first. A program that
// is to stop waits for their readers a little while only (tavhost/base/standard_write.h).
namespace app {

// To be called before anything is written. From then on bytes go out unchanged on every platform, a
// closed pipe or a file that has reached its limit is a write error rather than a signal.
void PrepareStandardStreams();

// Writes to standard output.
void Print(std::string_view text);
void PrintLine(std::string_view line);  // and its end, both in one
// What is printed goes out as this makes it, but for what is printed as it is; null: unchanged.
void SetPrintForm(std::string (*form)(std::string_view text));
void PrintAsItIs(std::string_view text);

// Writes out what is buffered.
void FlushOutput();
// The same, for the end of a run. False when something could not be written, now or earlier; the
// first call that finds this out says so on standard error.
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
