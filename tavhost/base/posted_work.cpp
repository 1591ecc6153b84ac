#include "tavhost/base/posted_work.h"

#include <deque>
#include <mutex>
#include <utility>

namespace ui {

namespace {

std::mutex mutex;
std::deque<std::function<void()>>& Queue() {
  static std::deque<std::function<void()>> queue;
  return queue;
}
bool running = false;  // user-interface thread only

}  // namespace

void Post(std::function<void()> work) {
  {
    std::lock_guard lock(mutex);
    Queue().push_back(std::move(work));
  }
  WakeUp();
}

void RunPostedWork() {
  if (running) return;
  std::deque<std::function<void()>> work;
  {
    std::lock_guard lock(mutex);
    work.swap(Queue());
  }
  if (work.empty()) return;
  running = true;
  for (std::function<void()>& piece : work) piece();
  running = false;
  // A wait inside the work may have used up the wake-up of what came meanwhile.
  if (HasPostedWork()) WakeUp();
}

bool HasPostedWork() {
  if (running) return false;
  std::lock_guard lock(mutex);
  return !Queue().empty();
}

}  // namespace ui
