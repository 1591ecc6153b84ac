#pragma once

#include <cstddef>
#include <string_view>

// Telling a person something: the one way to standard error. What the script printed before stands
// before it, and a status line never mixes with it. From any thread; nothing here throws or changes
// errno.
namespace report {

// A message: one line, or several that belong together. It goes out in one piece, so that those of
// other threads stand before or behind it; an end of line is added where it has none.
void Line(std::string_view text) noexcept;

// A part of a dialog that is held in the terminal, as it is: a prompt ends without its line, and
// the answer is typed behind it.
void Text(std::string_view text) noexcept;

// Shows a line on the terminal that standard error is, in place of the one before; an empty one
// takes it away. Messages take it away first.
void ShowStatus(std::string_view line) noexcept;

// For what writes to standard output: where both streams are one terminal, its text would stand
// behind the status line.
void TakeStatusAway() noexcept;

// Whether standard error is a terminal, so that a status line can be written over.
bool IsTerminal() noexcept;

// For a program that serves others: from now on nobody waits for whoever reads standard error. What
// is not read at once is kept for a while, in order, and behind a limit dropped and counted; the
// count is told once somebody reads again. Cannot be taken back.
void NeverWait();

// Waits until all that is kept has been read, a little while at most: for the end of the program.
void Finish() noexcept;

// The last line of a program that ends by a fault, from a signal handler: neither locks nor
// allocates, and waits for the reader a second at most.
void LineAtCrash(std::string_view text) noexcept;

namespace detail {

// The platform's part: all bytes, however long the reader takes. What cannot be written is lost;
// there is nobody left to tell.
void Write(std::string_view bytes) noexcept;

// Writes what the reader takes within so many milliseconds, 0 for what it takes at once, and
// returns how many bytes that were. May be called in a signal handler. Where the system does not
// tell whether a reader would have to be waited for, nothing is taken at once, and else it is
// waited for.
std::size_t WriteWithin(std::string_view bytes, int milliseconds) noexcept;

}  // namespace detail

}  // namespace report
