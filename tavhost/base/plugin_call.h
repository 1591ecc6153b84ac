#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// The call into a plug-in that is going on, for those who tell of it when the program ends in the
// middle of it: the plug-in crashes, or does not return although the script is to stop. Calls are
// made on the user-interface thread.
namespace plugin_call {

// One that goes on as long as the object lives; calls nest. The texts must stay as long.
class Scope {
 public:
  // `plugin` is the library's path. Without a command the plug-in is being loaded or unloaded.
  Scope(const char* plugin, const char* command) noexcept
      : plugin_(plugin), command_(command), outer_(current.load(std::memory_order_relaxed)) {
    current.store(this, std::memory_order_relaxed);
  }
  Scope(const Scope&) = delete;
  Scope& operator=(const Scope&) = delete;
  ~Scope() { current.store(outer_, std::memory_order_relaxed); }

  const char* Plugin() const noexcept { return plugin_; }
  const char* Command() const noexcept { return command_; }  // null: none

  // The innermost call; null when no plug-in is being called.
  static const Scope* Current() noexcept { return current.load(std::memory_order_relaxed); }

 private:
  static inline std::atomic<const Scope*> current{nullptr};

  const char* plugin_;
  const char* command_;
  const Scope* outer_;
};

// Where the running script is. The name is empty when none runs.
struct Place {
  std::string_view file;
  std::uint32_t line = 0;
};
// Who can tell; it must neither allocate nor lock, so that a signal handler can ask it.
void SetPlaceTeller(Place (*tell)() noexcept) noexcept;
Place CurrentPlace() noexcept;
// The same for a message, `x.tav:3`; empty when no script runs.
std::string PlaceText();

// The innermost call in words, as much of it as fits: `plug-in "a/b.so", command FOO at x.tav:3`.
// Empty when there is none. Neither allocates nor locks; on the user-interface thread, in a signal
// handler too, or while that thread is held.
std::string_view Describe(char* room, std::size_t size) noexcept;

}  // namespace plugin_call
