#pragma once

namespace app {

// From now on Ctrl-C and a request to terminate ask the running script to stop; when the first
// one has not ended the program yet, a second one does so at once.
void HandleInterrupts();

// Asks the running script to stop when so many seconds have passed.
void StopAfter(double seconds);

// A prompt: the stop that an interrupt asked for is over, the next interrupt is a first one.
void ForgetInterrupts();

}  // namespace app
