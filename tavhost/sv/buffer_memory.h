#pragma once

#include <cstddef>

// Memory for the buffers of strings and for values. Small blocks come from lists of free ones,
// a list a size, kept for each thread; large ones ask the system for huge pages. Allocate throws
// std::bad_alloc when there is no memory.
namespace buffer_memory {

void* Allocate(std::size_t bytes);
void Free(void* block, std::size_t bytes) noexcept;

// From this size on a block begins at a huge page.
inline constexpr std::size_t kHugeFrom = std::size_t{4} << 20;

// Platform part: blocks of at least kHugeFrom bytes; null when there is no memory.
void* AllocateHuge(std::size_t bytes) noexcept;
void FreeHuge(void* block, std::size_t bytes) noexcept;  // as allocated

}  // namespace buffer_memory
