#pragma once

namespace buffer_memory {

// Gives a large block that is kept for the next request of memory back to the system, if there is
// one. For programs that run on when the work that took it is done. Platform part.
void GiveBackKept() noexcept;

}  // namespace buffer_memory
