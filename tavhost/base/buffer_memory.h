#pragma once

#include <cstddef>

// Memory for the buffers of strings and for values. Small blocks that are freed wait in lists for
// the next request of their size, which then costs a few instructions; each thread has lists of its
// own. Large blocks ask the system for huge pages.
//
// Free has to be told the size that the block was asked for with. A block may be freed by another
// thread than the one that asked for it. Allocate throws std::bad_alloc when there is no memory.
namespace buffer_memory {

// From this size on a block begins at a huge page.
inline constexpr std::size_t kHugeFrom = std::size_t{4} << 20;

// Platform part: blocks of at least kHugeFrom bytes; null when there is no memory.
void* AllocateHuge(std::size_t bytes) noexcept;
void FreeHuge(void* block, std::size_t bytes) noexcept;  // as allocated

namespace detail {

inline constexpr std::size_t kStep = 16;
inline constexpr std::size_t kSmallUpTo = 128;
// So many free blocks of each size stay with a thread, at most 512 KiB; none in a build with
// sanitizers, which have to see every block come and go.
#ifdef TAVHOST_SANITIZED
inline constexpr unsigned kKeptASize = 0;
#else
inline constexpr unsigned kKeptASize = 4096;
#endif

// What a block holds while it waits: the next one of its list.
struct FreeBlock {
  FreeBlock* next;
};

struct FreeList {
  FreeBlock* first;
  unsigned count;
};

// Plain data, nothing to construct or destroy, so that a new thread and every access cost nothing.
// What a thread leaves in its lists when it ends is lost.
extern constinit thread_local FreeList freeLists[kSmallUpTo / kStep];

inline FreeList& ListFor(std::size_t bytes) { return freeLists[(bytes - 1) / kStep]; }

// What the lists do not serve: a block from the system, and giving one back to it.
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
