#include <cstdlib>

#include "tavhost/base/buffer_memory.h"
#include "tavhost/base/kept_memory.h"

namespace buffer_memory {

void* AllocateHuge(std::size_t bytes) noexcept { return std::malloc(bytes); }

void FreeHuge(void* block, std::size_t) noexcept { std::free(block); }

void GiveBackKept() noexcept {}

}  // namespace buffer_memory
