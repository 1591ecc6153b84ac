#include "tavhost/base/buffer_memory.h"

#include <cstdlib>
#include <new>

#include "tavhost/base/memory_reserve.h"

namespace buffer_memory {

namespace detail {

constinit thread_local FreeList freeLists[kSmallUpTo / kStep] = {};

void* AllocateAnew(std::size_t bytes) {
  if (bytes <= kSmallUpTo) bytes = (bytes + kStep - 1) / kStep * kStep;
  while (true) {
    void* const block = bytes < kHugeFrom ? std::malloc(bytes) : AllocateHuge(bytes);
    if (block) return block;
    if (!memory_reserve::Release()) throw std::bad_alloc();
  }
}

void FreeForGood(void* block, std::size_t bytes) noexcept {
  if (bytes < kHugeFrom) {
    std::free(block);
  } else {
    FreeHuge(block, bytes);
  }
}

}  // namespace detail

}  // namespace buffer_memory
