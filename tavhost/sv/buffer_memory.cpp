#include "tavhost/sv/buffer_memory.h"

#include <cstdlib>
#include <new>

namespace buffer_memory {

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kKeepFree = false;  // so that every block's life is seen
#else
constexpr bool kKeepFree = true;
#endif

constexpr std::size_t kStep = 16;
constexpr std::size_t kSmallUpTo = 128;
constexpr unsigned kKeptASize = 4096;  // at most 512 KiB a size stay with a thread

struct FreeBlock {
  FreeBlock* next;
};

struct FreeList {
  FreeBlock* first;
  unsigned count;
};

// Trivial, so that a thread's start and every access cost nothing.
thread_local FreeList freeLists[kSmallUpTo / kStep];

FreeList& ListFor(std::size_t bytes) { return freeLists[(bytes - 1) / kStep]; }

}  // namespace

void* Allocate(std::size_t bytes) {
  if (bytes <= kSmallUpTo) {
    if constexpr (kKeepFree) {
      FreeList& list = ListFor(bytes);
      if (FreeBlock* block = list.first) {
        list.first = block->next;
        --list.count;
        return block;
      }
    }
    bytes = (bytes + kStep - 1) / kStep * kStep;
  }
  void* block = bytes < kHugeFrom ? std::malloc(bytes) : AllocateHuge(bytes);
  if (!block) throw std::bad_alloc();
  return block;
}

void Free(void* block, std::size_t bytes) noexcept {
  if (bytes <= kSmallUpTo && kKeepFree) {
    FreeList& list = ListFor(bytes);
    if (list.count < kKeptASize) {
      auto* freed = static_cast<FreeBlock*>(block);
      freed->next = list.first;
      list.first = freed;
      ++list.count;
      return;
    }
  }
  if (bytes < kHugeFrom) {
    std::free(block);
  } else {
    FreeHuge(block, bytes);
  }
}

}  // namespace buffer_memory
