#include "failing_malloc.h"

#include <atomic>
#include <cerrno>
#include <cstddef>

// The C library's own, which the functions below stand before. What the program and all its modules
// ask for comes through here.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);
}

namespace {

// Plain data: made before any code runs, and asked without asking for memory.
constinit thread_local long left = 0;    // requests until the one that fails; 0: none does
constinit thread_local long inARow = 0;  // how many fail from that one on
constinit thread_local bool refused = false;
constinit std::atomic<long> live{0};

bool IsRefused() noexcept {
  if (left == 0 || --left > 0) return false;
  refused = true;
  left = --inARow > 0 ? 1 : 0;
  errno = ENOMEM;
  return true;
}

void* Counted(void* block) noexcept {
  if (block) live.fetch_add(1, std::memory_order_relaxed);
  return block;
}

}  // namespace

namespace failing_malloc {

void FailAt(long at, long count) noexcept {
  refused = false;
  inARow = count;
  left = at;
}

bool Disarm() noexcept {
  left = 0;
  return refused;
}

long LiveBlocks() noexcept { return live.load(std::memory_order_relaxed); }

}  // namespace failing_malloc

extern "C" {

void* malloc(std::size_t size) noexcept {
  return IsRefused() ? nullptr : Counted(__libc_malloc(size));
}

void* calloc(std::size_t count, std::size_t size) noexcept {
  return IsRefused() ? nullptr : Counted(__libc_calloc(count, size));
}

void* realloc(void* block, std::size_t size) noexcept {
  if (IsRefused()) return nullptr;
  void* const moved = __libc_realloc(block, size);
  return block ? moved : Counted(moved);
}

void* memalign(std::size_t alignment, std::size_t size) noexcept {
  return IsRefused() ? nullptr : Counted(__libc_memalign(alignment, size));
}

void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
  return memalign(alignment, size);
}

int posix_memalign(void** block, std::size_t alignment, std::size_t size) noexcept {
  void* const made = memalign(alignment, size);
  if (!made) return ENOMEM;
  *block = made;
  return 0;
}

void free(void* block) noexcept {
  if (block) live.fetch_sub(1, std::memory_order_relaxed);
  __libc_free(block);
}

}  // extern "C"
