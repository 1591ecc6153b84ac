#include "tavhost/loader/command_signals.h"

namespace loader {

// There is nothing to be held: what stops a run comes on threads of the system's.
void KeepSignals() noexcept {}
void RestoreSignals() noexcept {}

}  // namespace loader
