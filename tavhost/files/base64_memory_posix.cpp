#include <sys/mman.h>

#include <cstdint>

#include "tavhost/files/base64_codec.h"

namespace base64 {

void ExpectFilled(void* memory, std::size_t bytes) {
#ifdef MADV_HUGEPAGE
  constexpr std::uintptr_t kHugePage = std::uintptr_t{2} << 20;
  // Bytes; a smaller buffer has too few huge pages to be worth the call.
  constexpr std::size_t kWorthIt = std::size_t{4} << 20;
  if (bytes < kWorthIt) return;
  const auto begin = (reinterpret_cast<std::uintptr_t>(memory) + kHugePage - 1) & ~(kHugePage - 1);
  const auto end = (reinterpret_cast<std::uintptr_t>(memory) + bytes) & ~(kHugePage - 1);
  // The system need not do it; the buffer is then filled more slowly.
  if (begin < end) madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
#endif
}

}  // namespace base64
