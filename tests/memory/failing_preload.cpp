// Stands before a whole program (LD_PRELOAD) and refuses its requests for memory from the n-th on,
// counted in all threads from before its own static objects are made:
//
//   TAVHOST_REFUSE_AT      n, from 1
//   TAVHOST_REFUSE_IN_ROW  how many are refused, 1 if not said
//   TAVHOST_REFUSED_TO     a descriptor that gets a byte when the first is refused
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>

// The C library's own, which the functions below stand before.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
}

namespace {

constinit std::atomic<long> made{0};
constinit long first = 0;  // that is refused; 0: none is
constinit long behind = 0;
constinit int told = -1;

long Number(const char* name, long otherwise) {
  const char* const text = std::getenv(name);
  return text ? std::atol(text) : otherwise;
}

[[gnu::constructor(101)]] void Begin() {
  told = static_cast<int>(Number("TAVHOST_REFUSED_TO", -1));
  behind = Number("TAVHOST_REFUSE_IN_ROW", 1);
  first = Number("TAVHOST_REFUSE_AT", 0);
  behind += first;
}

bool IsRefused() noexcept {
  if (first == 0) return false;
  const long number = made.fetch_add(1, std::memory_order_relaxed) + 1;
  if (number < first || number >= behind) return false;
  if (number == first && told >= 0) {
    [[maybe_unused]] const ssize_t written = write(told, "x", 1);
  }
  errno = ENOMEM;
  return true;
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) noexcept { return IsRefused() ? nullptr : __libc_malloc(size); }

void* calloc(std::size_t count, std::size_t size) noexcept {
  return IsRefused() ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size) noexcept {
  return IsRefused() ? nullptr : __libc_realloc(block, size);
}

void* memalign(std::size_t alignment, std::size_t size) noexcept {
  return IsRefused() ? nullptr : __libc_memalign(alignment, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
  return memalign(alignment, size);
}

int posix_memalign(void** block, std::size_t alignment, std::size_t size) noexcept {
  void* const given = memalign(alignment, size);
  if (!given) return ENOMEM;
  *block = given;
  return 0;
}

}  // extern "C"
