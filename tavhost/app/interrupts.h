#pragma once

namespace app {

// From now on Ctrl-C and a request to terminate ask the running script to stop. A second one, when
// the program has not ended by then, ends it at once.
void HandleInterrupts();

// Asks the running script to stop when so many seconds have passed.
void StopAfter(double seconds);

// For a prompt, which goes on after an interrupt: the next one counts as the first again.
void ForgetInterrupts();

}  // namespace app
