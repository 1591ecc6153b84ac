#pragma once

#include <atomic>

namespace base {

// Work of the host that is finished before a stop takes effect, since cut short it would leave a
// file that is neither the old one nor the new. Who sees to it that stops are heeded waits for it.
// On the user-interface thread; asked from any thread and in signal handlers.
class UncutWork {
 public:
  // `file` is its path, and stays as long as this lives.
  explicit UncutWork(const char* file) noexcept : outer_(current.exchange(file)) {}
  UncutWork(const UncutWork&) = delete;
  UncutWork& operator=(const UncutWork&) = delete;
  ~UncutWork() { current = outer_; }

  // The file that is being stored; null when none is.
  static const char* Current() noexcept { return current; }

 private:
  static inline std::atomic<const char*> current{nullptr};

  const char* const outer_;
};

}  // namespace base
