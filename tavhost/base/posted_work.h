#pragma once

#include <functional>

// Work that the host's other threads hand to the user-interface thread, in order.
namespace ui {

// From any thread. The work runs in the next ProcessEvents; it must not throw.
void Post(std::function<void()> work);

// Runs what was posted before the call; what that work posts itself waits for the next time.
// A call from inside posted work does nothing. On the user-interface thread only.
void RunPostedWork();
bool HasPostedWork();  // false inside posted work, where RunPostedWork does nothing

// Ends a wait for events, a present one or the next. From any thread and from a signal handler.
void WakeUp() noexcept;

// Waits for WakeUp, on Windows also for any message of the thread; handles nothing. What it
// waited for is used up by ClearWakeUp. On the user-interface thread only.
void WaitForWakeUp(unsigned milliseconds);
void ClearWakeUp();

// Handles the window messages that wait for this thread; does nothing where there are none.
void ProcessSystemMessages();

// A descriptor that becomes readable with WakeUp, for event loops that watch descriptors; -1
// where there is none.
int WakeUpDescriptor();

}  // namespace ui
