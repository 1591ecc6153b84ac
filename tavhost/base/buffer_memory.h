#pragma once

#include <cstddef>

// Memory for the buffers of strings and for values. Small blocks come from lists of free ones,
// a list a size, kept for each thread; large ones ask the system for huge pages. Allocate throws
// std::bad_alloc when there is no memory.
namespace buffer_memory {

// From this size on a block begins at a huge page.
inline constexpr std::size_t kHugeFrom = std::size_t{4} << 20;

// Platform part: blocks of at least kHugeFrom bytes; null when there is no memory.
void* AllocateHuge(std::size_t bytes) noexcept;
void FreeHuge(void* block, std::size_t bytes) noexcept;  // as allocated

namespace detail {

inline constexpr std::size_t kStep = 16;
inline constexpr std::size_t kSmallUpTo = 128;
// At most 512 KiB a size stay with a thread; none where a tool wants to see every block's life.
#ifdef TAVHOST_SANITIZED
inline constexpr unsigned kKeptASize = 0;
#else
inline constexpr unsigned kKeptASize = 4096;
#endif

struct FreeBlock {
  FreeBlock* next;
};

struct FreeList {
  FreeBlock* first;
  unsigned count;
};

// Trivial, so that a thread's start and every access cost nothing.
extern constinit thread_local FreeList freeLists[kSmallUpTo / kStep];

inline FreeList& ListFor(std::size_t bytes) { return freeLists[(bytes - 1) / kStep]; }

void* AllocateAnew(std::size_t bytes);
void FreeForGood(void* block, std::size_t bytes) noexcept;

}  // namespace detail

inline void* Allocate(std::size_t bytes) {
  using namespace detail;
  if (bytes <= kSmallUpTo) {
    FreeList& list = ListFor(bytes);
    if (FreeBlock* block = list.first) [[likely]] {
      list.first = block->next;
      --list.count;
      return block;
    }
  }
  return AllocateAnew(bytes);
}

inline void Free(void* block, std::size_t bytes) noexcept {
  using namespace detail;
  if (bytes <= kSmallUpTo) {
    FreeList& list = ListFor(bytes);
    if (list.count < kKeptASize) [[likely]] {
      auto* freed = static_cast<FreeBlock*>(block);
      freed->next = list.first;
      list.first = freed;
      ++list.count;
      return;
    }
  }
  FreeForGood(block, bytes);
}

}  // namespace buffer_memory
