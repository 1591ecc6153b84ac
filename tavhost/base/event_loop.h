#pragma once

#include <cstdint>
#include <utility>

#include "tavhost/base/memory_reserve.h"

// The one queue of the user-interface thread: events of its windows, and work that the host's other
// threads hand to it.
namespace event_loop {

// What handles events: the user interface in use.
class Loop {
 public:
  virtual ~Loop() = default;

  // Handles all events that wait, posted work included, and returns at once.
  virtual void ProcessEvents() = 0;
  // Lets the windows paint themselves and returns at once: input of the user and posted work wait.
  virtual void ProcessPainting() = 0;
  // Returns when an event waits, a stop is asked for, or the time is over; handles nothing.
  virtual void WaitForEvents(std::uint32_t milliseconds) = 0;
};

// The loop that the functions below ask; not owned. Without one (null) there are no windows:
// nothing is handled, and a wait ends by WakeUp or by its time.
void SetLoop(Loop* loop) noexcept;

// As the loop's members of these names; on the user-interface thread only.
void ProcessEvents();
void ProcessPainting();
void WaitForEvents(std::uint32_t milliseconds);

// A piece of work that was posted; destroyed after it ran.
class Work {
 public:
  virtual ~Work() = default;
  virtual void Run() = 0;
};

// From any thread. The work, anything that can be called, runs in the next ProcessEvents; it must
// not throw, but for want of memory, which ends that piece of work alone. Takes ownership.
void PostOwned(Work* work);

template <typename F>
void Post(F work) {
  struct Posted final : Work {
    explicit Posted(F&& given) : call(std::move(given)) {}
    void Run() override { call(); }
    F call;
  };
  const memory_reserve::Use reserve;
  PostOwned(new Posted(std::move(work)));
}

// Ends a wait for events, a present one or the next. From any thread and from a signal handler.
void WakeUp() noexcept;

// What follows is for those who write a loop.

// Runs what was posted before the call; what that work posts itself waits for the next time.
// A call from inside posted work does nothing. On the user-interface thread only.
void RunPostedWork();
bool HasPostedWork();  // false inside posted work, where RunPostedWork does nothing

// Waits for WakeUp, on Windows also for any message of the thread; handles nothing. What it
// waited for is used up by ClearWakeUp. On the user-interface thread only.
void WaitForWakeUp(unsigned milliseconds);
void ClearWakeUp();

// Handles the window messages that wait for this thread; does nothing where there are none.
void ProcessSystemMessages();

// A descriptor that becomes readable with WakeUp, for event loops that watch descriptors; -1
// where there is none.
int WakeUpDescriptor();

}  // namespace event_loop
