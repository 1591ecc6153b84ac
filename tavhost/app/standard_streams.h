#pragma once

#include <optional>
#include <string>
#include <string_view>

// The program's standard streams. Standard output is buffered, unless it is a terminal. What goes
// to standard error through here comes behind what was printed before.
namespace app {

// To be called before anything is written. From then on bytes go out unchanged on every platform, a
// closed pipe is a write error rather than a signal, and what was printed before a crash still
// comes out.
void PrepareStandardStreams();

// Writes to standard output. The first failure asks the running script to stop.
void Print(std::string_view text);
void WriteError(std::string_view text);

// Shows a line on the terminal that standard error is, in place of the one before; an empty one
// takes it away. What is printed meanwhile stands above it.
void ShowStatus(std::string_view line);

// Writes out what is buffered. False when something could not be written, now or earlier; the first
// call that finds this out says so on standard error.
bool FinishOutput();

bool IsInputTerminal();
bool IsOutputTerminal();
bool IsErrorTerminal();

// The next line of standard input without its end, shared with dialogs that are answered in the
// terminal. False at its end, and when a stop was asked for.
bool ReadInputLine(std::string& line);

// All of standard input, or of a file; empty when it cannot be read, `error` then says why.
std::optional<std::string> ReadStandardInput(std::string& error);
std::optional<std::string> ReadWholeFile(const std::string& path, std::string& error);

// Platform part of PrepareStandardStreams.
void PreparePlatformStreams();

}  // namespace app
