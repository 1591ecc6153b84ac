#include <sys/mman.h>

#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <utility>

#include "tavhost/base/buffer_memory.h"
#include "tavhost/base/kept_memory.h"

namespace buffer_memory {

namespace {

constexpr std::size_t kHugePage = std::size_t{2} << 20;

constexpr std::size_t WholePages(std::size_t bytes) {
  return (bytes + kHugePage - 1) / kHugePage * kHugePage;
}

// Asks the system to use huge pages for the block. It need not comply; work on the block is then
// slower, nothing else.
void WishForHugePages(void* block, std::size_t bytes) {
#ifdef MADV_HUGEPAGE
  madvise(block, bytes, MADV_HUGEPAGE);
#else
  static_cast<void>(block);
  static_cast<void>(bytes);
#endif
}

}  // namespace

// Keeping and moving pages takes mremap, which Linux has; sanitizers have to see every block.
#if defined(__linux__) && !defined(TAVHOST_SANITIZED)

namespace {

struct Block {
  void* address = nullptr;
  std::size_t bytes = 0;
};

// The block that was freed last, kept for the next request. The system clears new pages before it
// hands them out, which takes longer than filling them does; a text that grows piece by piece, or
// is turned into another one, so gets pages that it had before. Memory that waits here is not
// withheld: the system may take its contents back when it runs short (MADV_FREE).
constexpr std::size_t kKeptAtMost = std::size_t{1} << 30;
constinit std::mutex keptMutex;
constinit Block kept;

Block Exchange(Block block) {
  const std::lock_guard lock(keptMutex);
  return std::exchange(kept, block);
}

void Unmap(Block block) {
  if (block.bytes > 0) munmap(block.address, block.bytes);
}

// Address space that begins at a huge page; null when there is none. One huge page more than
// wanted is mapped, and what lies before and behind the right place is given back.
void* Reserve(std::size_t bytes, int protection) {
  const std::size_t roomy = bytes + kHugePage;
  void* const mapped = mmap(nullptr, roomy, protection, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapped == MAP_FAILED) return nullptr;
  auto* const begin = static_cast<char*>(mapped);
  const auto before =
      WholePages(reinterpret_cast<std::uintptr_t>(begin)) - reinterpret_cast<std::uintptr_t>(begin);
  Unmap({begin, before});
  Unmap({begin + before + bytes, roomy - before - bytes});
  return begin + before;
}

// The block with room for `bytes`, whatever it held: cut at its end, or its pages moved to larger
// address space. Null, and the block gone, when that cannot be done.
void* Resized(Block block, std::size_t bytes) {
  if (block.bytes >= bytes) {
    Unmap({static_cast<char*>(block.address) + bytes, block.bytes - bytes});
    return block.address;
  }
  void* const room = Reserve(bytes, PROT_NONE);
  if (room) {
    void* const moved =
        mremap(block.address, block.bytes, bytes, MREMAP_MAYMOVE | MREMAP_FIXED, room);
    if (moved != MAP_FAILED) return moved;
    Unmap({room, bytes});
  }
  Unmap(block);
  return nullptr;
}

}  // namespace

void* AllocateHuge(std::size_t bytes) noexcept {
  const std::size_t whole = WholePages(bytes);
  const Block reused = Exchange({});
  if (reused.bytes > 0) {
    if (void* block = Resized(reused, whole)) return block;
  }
  void* const block = Reserve(whole, PROT_READ | PROT_WRITE);
  if (block) WishForHugePages(block, whole);
  return block;
}

void FreeHuge(void* block, std::size_t bytes) noexcept {
  const std::size_t whole = WholePages(bytes);
  if (whole > kKeptAtMost) return Unmap({block, whole});
#ifdef MADV_FREE
  madvise(block, whole, MADV_FREE);
#endif
  Unmap(Exchange({block, whole}));
}

void GiveBackKept() noexcept { Unmap(Exchange({})); }

#else

void GiveBackKept() noexcept {}

void* AllocateHuge(std::size_t bytes) noexcept {
  void* const block = std::aligned_alloc(kHugePage, WholePages(bytes));
  if (block) WishForHugePages(block, WholePages(bytes));
  return block;
}

void FreeHuge(void* block, std::size_t) noexcept { std::free(block); }

#endif

}  // namespace buffer_memory
