#pragma once

#include <atomic>
#include <exception>

// The request to end the running script: by the user, by the system, by a time limit, or by a
// dialog that has no answer. It cannot be caught by a script. Requests may come from any thread and
// from a signal handler; all else belongs to the user-interface thread.
namespace stop {

// Who asked for the stop; the numbers fit the atomic below.
enum class Reason : int {
  kNone = 0,
  kUser = 1,       // Ctrl-C, the Stop button, a client that left
  kTimeout = 2,    // --timeout ran out
  kNoAnswer = 3,   // a dialog had no answer, or one that does not fit
  kTerminate = 4,  // SIGTERM, a hang-up, the end of the system's session
};

extern std::atomic<int> requested;  // a Reason; for the functions below only

// The first request stands until it is cleared.
void Request(Reason reason) noexcept;
inline bool IsRequested() noexcept { return requested.load(std::memory_order_relaxed) != 0; }
Reason Requested() noexcept;  // kNone when no stop is asked for
void Clear() noexcept;

// While one lives, commands release what a script left behind. A request that was made before,
// which would stop them half-way, is taken back; for the watch below it stays open until they have
// returned. One that is made meanwhile stands.
class CleanUp {
 public:
  CleanUp() noexcept;
  CleanUp(const CleanUp&) = delete;
  CleanUp& operator=(const CleanUp&) = delete;
  ~CleanUp();
};

// Who sees to it that requests are heeded. `begin` is called by a first request, in its thread or
// signal handler, `end` when that is done with; neither may allocate, lock or throw.
struct Watch {
  void (*begin)() noexcept = nullptr;
  void (*end)() noexcept = nullptr;
};
// Called once, before there are requests.
void SetWatch(const Watch& watch) noexcept;
// The reason of the request that is watched, also when it has been taken back for a CleanUp.
Reason Watched() noexcept;

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
