#pragma once

#include <atomic>
#include <exception>

// The request to end the running script: by the user, by a time limit, or by a dialog that has no
// answer. It cannot be caught by a script. Requests may come from any thread and from a signal
// handler; all else belongs to the user-interface thread.
namespace stop {

// Who asked for the stop; the numbers fit the atomic below.
enum class Reason : int {
  kNone = 0,
  kUser = 1,      // Ctrl-C, SIGTERM, the Stop button
  kTimeout = 2,   // --timeout ran out
  kNoAnswer = 3,  // a dialog had no answer, or one that does not fit
};

extern std::atomic<int> requested;  // a Reason; for the functions below only

// The first request stands until it is cleared.
void Request(Reason reason) noexcept;
inline bool IsRequested() noexcept { return requested.load(std::memory_order_relaxed) != 0; }
Reason Requested() noexcept;  // kNone when no stop is asked for
void Clear() noexcept;

// Leaves a command from inside a host operation that waits. The host catches it where it called
// the plug-in; commands only have their locals destroyed.
class Stopped : public std::exception {
 public:
  const char* what() const noexcept override { return "the script was stopped"; }
};

inline void ThrowIfRequested() {
  if (IsRequested()) throw Stopped();
}

}  // namespace stop
