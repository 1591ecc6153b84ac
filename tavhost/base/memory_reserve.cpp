#include "tavhost/base/memory_reserve.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>

namespace memory_reserve {

namespace {

// Room for some hundred error texts with their lines, and no more than what the start of a program
// does not feel.
constexpr std::size_t kBytes = std::size_t{128} << 10;

std::atomic<void*> reserve{nullptr};
std::atomic<bool> isKept{false};

constinit thread_local unsigned users = 0;

// What operator new calls when there is no memory: it asks the system again when this returns.
void GiveOrThrow() {
  if (!Release()) throw std::bad_alloc();
}

// Its pages are written, or the system would only promise them.
void SetAside() noexcept {
  if (reserve.load(std::memory_order_relaxed)) return;
  void* const block = std::malloc(kBytes);
  if (!block) return;
  std::memset(block, 1, kBytes);
  std::free(reserve.exchange(block));
}

}  // namespace

void Keep() noexcept {
  if (isKept.exchange(true)) return;
  SetAside();
  std::set_new_handler(GiveOrThrow);
}

Use::Use() noexcept { ++users; }

Use::~Use() {
  if (--users == 0 && isKept) SetAside();
}

bool Release() noexcept {
  if (users == 0) return false;
  void* const block = reserve.exchange(nullptr);
  std::free(block);
  return block != nullptr;
}

}  // namespace memory_reserve
