#pragma once

// The memory of a test program: blocks are counted, and a call of the thread that asks for it
// fails.
namespace failing_malloc {

// From now on the `at`-th request for memory of this thread, counted from 1, is refused, and so are
// those behind it until `count` were; no other.
void FailAt(long at, long count) noexcept;
// No more. Whether a request was refused.
bool Disarm() noexcept;

// Blocks that are not given back yet, of all threads.
long LiveBlocks() noexcept;

}  // namespace failing_malloc
