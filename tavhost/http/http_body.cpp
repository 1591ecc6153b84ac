#include "tavhost/http/http_body.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "tavhost/base/refused_memory.h"

namespace http {

void Body::Announce(std::uint64_t length) {
  announced_ = static_cast<long>(std::min<std::uint64_t>(length, limit_));
}

// All that was announced at once, else half as much again each time.
void Body::MakeRoom(long more) {
  const long needed = length_ + more;
  if (needed <= bytes_.Len()) return;
  const auto most = static_cast<std::int64_t>(limit_);
  const std::int64_t grown = std::int64_t{needed} + std::max(needed / 2, 16384L);
  SV::String larger;
  char* bytes = nullptr;
  try {
    bytes = larger.AllocBuffer(needed <= announced_ ? announced_
                                                    : static_cast<long>(std::min(grown, most)));
  } catch (const std::bad_alloc&) {
    refused_memory::Take();
    announced_ = 0;  // it may have been too much to say
    bytes = larger.AllocBuffer(needed);
  }
  std::memcpy(bytes, bytes_.GetStr(), static_cast<std::size_t>(length_));
  bytes_ = std::move(larger);
}

char* Body::Room(std::size_t length) {
  if (length > limit_ - Length()) return nullptr;
  MakeRoom(static_cast<long>(length));
  // The buffer is this body's alone, so it can be written to where it lies.
  return const_cast<char*>(bytes_.GetStr()) + length_;
}

bool Body::Append(const char* data, std::size_t length) {
  char* const room = Room(length);
  if (!room) return false;
  std::memcpy(room, data, length);
  Advance(length);
  return true;
}

void Body::Finish() { bytes_.Erase(length_, bytes_.Len()); }

}  // namespace http
