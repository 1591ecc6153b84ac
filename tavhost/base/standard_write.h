#pragma once

#include <cstdio>
#include <string_view>

// Bytes to standard output and standard error. Their reader may take any time, and is waited for;
// but from a stop request on only a little while in all: what is not taken by then is dropped. So a
// pipe that nobody reads holds no program that is to end. The first time that standard output
// cannot be written, whatever wrote to it or wrote it out, the running script is asked to stop. (On
// Windows nothing tells whether a reader would have to be waited for; there every write waits.)
namespace standard_write {

// Milliseconds from a stop request on that readers are waited for.
inline constexpr int kPatience = 300;

// From now on the program ends: readers are waited for as behind a stop request, also when that has
// been taken back. The second takes this back. Both may be called in a signal handler.
void Hurry() noexcept;
void TakeTime() noexcept;

// Whether anything was dropped in such a hurry.
bool HasDropped() noexcept;

// Gives standard output its buffer; before anything is written.
void PrepareOutput();

// Writes to standard output, behind what is in its buffer. From one thread at a time.
void Output(std::string_view text) noexcept;
// The same, past the buffer, once that is empty; 0, or the errno of what could not be written.
int OutputNow(std::string_view text) noexcept;
// Writes out what is buffered. From any thread.
void FlushOutput() noexcept;
// The same, unless the buffer is in use at this moment; for the end of a program that cannot end in
// the usual way. May be called in a signal handler.
void FlushOutputIfFree() noexcept;
// The same, for a program that ends now: no reader is waited for any more, here or elsewhere.
void FlushOutputAtOnce() noexcept;
// The errno of the first time that standard output could not be written; 0 if there was none. What
// was dropped is no error.
int OutputError() noexcept;

// Writes to standard error, which has no buffer. What cannot be written is lost; the errno of it is
// returned, else 0.
int Error(std::string_view text) noexcept;

// The same to another file without a buffer, which can be a pipe with a name.
int To(std::FILE* file, std::string_view text) noexcept;

}  // namespace standard_write
