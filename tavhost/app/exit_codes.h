#pragma once

#include "tavhost/base/stop.h"

namespace app {

// What the program's exit code says. `exit N` in a script gives N instead.
inline constexpr int kExitSuccess = 0;
inline constexpr int kExitScriptError = 1;
inline constexpr int kExitUsage = 2;     // the command line, or a text that does not parse
inline constexpr int kExitNoAnswer = 3;  // a dialog without a fitting answer, or answers left over
inline constexpr int kExitNoPlugin = 4;
inline constexpr int kExitTimeout = 124;      // as timeout(1) has it
inline constexpr int kExitInterrupted = 130;  // Ctrl-C; this and the next as shells count signals
inline constexpr int kExitTerminated = 143;   // SIGTERM, a hang-up

// The greatest exit code there is, for which `exit N` with another number stands.
inline constexpr int kExitMost = 255;

// Of a program that ends because of such a request. May be called in a signal handler.
constexpr int ExitCodeOfStop(stop::Reason reason) {
  switch (reason) {
    case stop::Reason::kNoAnswer:
      return kExitNoAnswer;
    case stop::Reason::kTimeout:
      return kExitTimeout;
    case stop::Reason::kTerminate:
      return kExitTerminated;
    default:
      return kExitInterrupted;
  }
}

}  // namespace app
