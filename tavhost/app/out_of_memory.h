#pragma once

namespace app {

// From now on it is known that memory was refused, also where the exception that says so cannot be
// looked at any more. Behind memory_reserve::Keep.
void NoteRefusedMemory() noexcept;

}  // namespace app
