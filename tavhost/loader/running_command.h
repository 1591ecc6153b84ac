#pragma once

#include <atomic>

namespace loader {

// The code of a plug-in that runs now, for those who have to name it because it ends the program or
// does not return: a signal handler, another thread. Asked for while it changes, the two can be of
// different calls; each by itself is right.
struct RunningCommand {
  const char* plugin = nullptr;   // the library's path; null: no plug-in runs
  const char* command = nullptr;  // null: it is loaded, unloaded or asked what it is
};

namespace detail {
// Written on the user-interface thread alone.
inline std::atomic<const char*> runningPlugin{nullptr};
inline std::atomic<const char*> runningCommand{nullptr};
}  // namespace detail

inline RunningCommand FindRunningCommand() noexcept {
  return {detail::runningPlugin.load(std::memory_order_relaxed),
          detail::runningCommand.load(std::memory_order_relaxed)};
}

// A call into a plug-in, for as long as it lives; both texts live longer. Calls lie inside each
// other when a command runs a script.
class RunningScope {
 public:
  RunningScope(const char* plugin, const char* command) noexcept : before_(FindRunningCommand()) {
    Set({plugin, command});
  }
  RunningScope(const RunningScope&) = delete;
  RunningScope& operator=(const RunningScope&) = delete;
  ~RunningScope() { Set(before_); }

 private:
  static void Set(const RunningCommand& running) noexcept {
    detail::runningPlugin.store(running.plugin, std::memory_order_relaxed);
    detail::runningCommand.store(running.command, std::memory_order_relaxed);
  }

  const RunningCommand before_;
};

}  // namespace loader
