#pragma once

namespace script::service {

// Gives the memory that large replies have left behind back to the system: the program keeps what
// it has freed for its own use, as a rule, and a service runs for weeks. Platform part.
void GiveBackMemory();
// The same, where the program has come to take much more than when this was called last. For the
// user-interface thread.
void GiveBackIfGrown();

}  // namespace script::service
