#include "host/windows/wait.h"

#include <chrono>

#include "tavhost/base/event_loop.h"
#include "tavhost/base/standard_write.h"
#include "tavhost/base/trace.h"

// The wait for events or a time. Waiting for handles, which no command does, fails.
DWORD MsgWaitForMultipleObjectsEx(DWORD count, const HANDLE* handles, DWORD milliseconds,
                                  DWORD wakeMask, DWORD flags) {
  trace::Call call("MsgWaitForMultipleObjectsEx", count, trace::Object{handles}, milliseconds,
                   wakeMask, flags);
  if (count != 0) return call.Result(WAIT_FAILED);
  using Clock = std::chrono::steady_clock;
  const auto deadline = Clock::now() + std::chrono::milliseconds(milliseconds);
  standard_write::FlushOutput();  // who reads what the script printed need not wait with it
  event_loop::WaitForEvents(milliseconds);
  return call.Result(Clock::now() < deadline ? WAIT_OBJECT_0 : WAIT_TIMEOUT);
}
