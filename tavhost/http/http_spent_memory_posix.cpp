#include <sys/mman.h>

#include <cstdint>

#include "tavhost/base/buffer_memory.h"
#include "tavhost/http/http_spent_memory.h"

namespace http {

namespace {

// Smaller parts would break up huge pages.
constexpr std::uintptr_t kPart = std::uintptr_t{2} << 20;

const char* PartAt(const char* position) {
  return position - reinterpret_cast<std::uintptr_t>(position) % kPart;
}

}  // namespace

SpentMemory::SpentMemory(const SV::String& text) {
  if (text.View().size() < buffer_memory::kHugeFrom) return;
  from_ = PartAt(text.GetStr() + kPart - 1);
}

void SpentMemory::UpTo(const char* position) {
  if (!from_) return;
  const char* const upTo = PartAt(position);
  if (upTo <= from_) return;
  madvise(const_cast<char*>(from_), static_cast<std::size_t>(upTo - from_), MADV_DONTNEED);
  from_ = upTo;
}

}  // namespace http
