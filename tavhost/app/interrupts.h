#pragma once

#include <string>

#include "tavhost/base/stop.h"

namespace app {

// From now on Ctrl-C, a request to terminate, a hang-up and the end of the time end the program at
// once, by their exit code: there is no script yet that could be stopped, nor will there be one.
// What was printed is written out as far as it is taken in time; what must not outlive the program
// is ended and removed. How children end is heard of, also where the caller does not care.
void EndAtInterrupts();

// From now on they ask the running script to stop. A second one, when the program has not ended by
// then, ends it at once.
void HandleInterrupts();

// Begins the time of the program, in seconds; called once, behind EndAtInterrupts. `line` is said
// when it is over before there is a script.
void LimitTime(double seconds, std::string line);

// For a thread that looks from time to time, while code runs that may have its own way with
// signals: one that it ignores is taken again, and the end of the time is seen without a signal.
void HoldInterrupts() noexcept;

// What the program was asked to end by: the first interrupt, or the time limit; kNone if by
// nothing.
stop::Reason Interruption();

// For a prompt, which goes on after an interrupt: the next one counts as the first again.
void ForgetInterrupts();

}  // namespace app
