#pragma once

#include "tavhost/base/stop.h"

namespace app {

// From now on Ctrl-C, a request to terminate and a hang-up end the program at once, by their exit
// code: there is no script yet that could be stopped, nor will there be one. What must not outlive
// the program is ended and removed.
void EndAtInterrupts();

// From now on Ctrl-C and a request to terminate ask the running script to stop. A second one, when
// the program has not ended by then, ends it at once.
void HandleInterrupts();

// Asks the running script to stop when so many seconds have passed.
void StopAfter(double seconds);

// What the program was asked to end by: the first interrupt, or the time limit; kNone if by
// nothing.
stop::Reason Interruption();

// For a prompt, which goes on after an interrupt: the next one counts as the first again.
void ForgetInterrupts();

}  // namespace app
