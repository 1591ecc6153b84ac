#include "tavhost/base/event_loop.h"

#include <deque>
#include <memory>
#include <mutex>
#include <new>
#include <utility>

#include "tavhost/base/report.h"

namespace event_loop {

namespace {

std::mutex mutex;  // guards the queue
// Made at its first use, which can come before this file's static objects are made.
std::deque<std::unique_ptr<Work>>& Queue() {
  static std::deque<std::unique_ptr<Work>> queue;
  return queue;
}
// Both belong to the user-interface thread.
bool running = false;  // posted work is being run
Loop* loop = nullptr;  // not owned

}  // namespace

void SetLoop(Loop* newLoop) noexcept { loop = newLoop; }

void ProcessEvents() {
  if (loop) loop->ProcessEvents();
}

void ProcessPainting() {
  if (loop) loop->ProcessPainting();
}

void WaitForEvents(std::uint32_t milliseconds) {
  loop ? loop->WaitForEvents(milliseconds) : WaitForWakeUp(milliseconds);
}

void PostOwned(Work* work) {
  std::unique_ptr<Work> owned(work);
  {
    std::lock_guard lock(mutex);
    Queue().push_back(std::move(owned));
  }
  WakeUp();
}

void RunPostedWork() {
  if (running) return;
  std::deque<std::unique_ptr<Work>> work;
  {
    std::lock_guard lock(mutex);
    work.swap(Queue());
  }
  if (work.empty()) return;
  running = true;
  for (const std::unique_ptr<Work>& piece : work) {
    try {
      piece->Run();
    } catch (const std::bad_alloc&) {
      report::Line("tavhost: out of memory");
    }
  }
  running = false;
  // A wait inside the work may have used up the wake-up of what came meanwhile.
  if (HasPostedWork()) WakeUp();
}

bool HasPostedWork() {
  if (running) return false;
  std::lock_guard lock(mutex);
  return !Queue().empty();
}

}  // namespace event_loop
