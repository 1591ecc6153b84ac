#pragma once

#include <cstddef>
#include <string_view>

namespace app {

// From now on the program ends when code of a plug-in heeds no stop request for five seconds: a
// line on standard error names the plug-in, its command and the place in the script, files that
// must not stay are removed, and the exit code is that of the stop. The host's own code heeds a
// stop within a second, but for a file that it has to store whole: that is waited for, and told
// after those five seconds. Belongs to the thread that calls it, the user-interface thread.
void StartWatchdog();

// From now on that holds for code that takes no signals, too, and so do the stops by signals: they
// come on a thread of its own then. To be called before plug-ins are loaded whose code that might
// be; where it is not, no time goes for the thread.
void WatchFromAside();

// Seconds from a request to the end; and between two looks when no plug-in is at work by then.
inline constexpr int kWatchdogPatience = 5;
inline constexpr int kWatchdogAgain = 1;

// Seconds that what was printed, and then the line, may take to be written out.
inline constexpr int kWatchdogWriting = 1;

// What it says of a file that it waits for.
std::string_view UncutLine(const char* file, char* room, std::size_t size) noexcept;

// What the watchdog says of the call that goes on, as much as fits; empty when no plug-in is being
// called. Neither allocates nor locks.
std::string_view WatchdogLine(char* room, std::size_t size) noexcept;

}  // namespace app
