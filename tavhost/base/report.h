#pragma once

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

// The errno of the first time that what was printed could not be written out before a message;
// 0 if there was none. The stream itself has forgotten it when it is asked at the end.
int OutputError() noexcept;

namespace detail {

// The platform's part: all bytes, at once if the system takes them so. What cannot be written is
// lost; there is nobody left to tell.
void Write(std::string_view bytes) noexcept;

}  // namespace detail

}  // namespace report
