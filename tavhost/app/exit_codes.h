#pragma once

namespace app {

// What the program's exit code says. `exit N` in a script gives N instead.
inline constexpr int kExitSuccess = 0;
inline constexpr int kExitScriptError = 1;
inline constexpr int kExitUsage = 2;     // the command line, or a text that does not parse
inline constexpr int kExitNoAnswer = 3;  // a dialog without a fitting answer, or answers left over
inline constexpr int kExitNoPlugin = 4;
inline constexpr int kExitNotWritten = 5;  // a trace, a record or a picture
inline constexpr int kExitStopped = 130;

}  // namespace app
