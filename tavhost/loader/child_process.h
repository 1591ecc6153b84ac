#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace loader {

// How a child process ended, and what it said.
struct ChildOutcome {
  enum class End { kNotStarted, kExited, kCrashed, kTimedOut };

  End end = End::kNotStarted;
  int code = 0;        // the exit code of a child that exited
  std::string reason;  // of one that crashed or did not start
  std::string output;  // its standard output
};

// Runs this program again with the given arguments (UTF-8, without the program's name), without
// input and with its standard error dropped. Behind `limit`, and when a stop is asked for, the
// child is ended; whatever it started ends with it in any case.
ChildOutcome RunChild(const std::vector<std::string>& arguments, std::chrono::milliseconds limit);

// Ends the child that runs now, if one does, and what it started. May be called in a signal
// handler.
void EndChild() noexcept;

// For the child: it ends when the program that started it does, however that happens.
void EndWithParent();

// For the child: a crash shall leave no dump and open no window.
void CrashQuietly();

}  // namespace loader
