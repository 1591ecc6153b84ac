#include "tavhost/http/http_body.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "tavhost/http/http_text.h"

namespace http {

void Body::Announce(std::uint64_t length) {
  announced_ = static_cast<long>(std::min<std::uint64_t>(length, limit_));
}

// All that was announced at once, else half as much again each time.
void Body::MakeRoom(long more) {
  const long needed = length_ + more;
  if (needed <= bytes_.Len()) return;
  const std::int64_t grown = std::int64_t{needed} + std::max(needed / 2, 16384L);
  const long room = needed <= announced_
                        ? announced_
                        : static_cast<long>(std::min(grown, static_cast<std::int64_t>(limit_)));
  SV::String larger;
  char* bytes = larger.AllocBuffer(room);
  std::memcpy(bytes, bytes_.GetStr(), static_cast<std::size_t>(length_));
  bytes_ = std::move(larger);
}

bool Body::Append(const char* data, std::size_t length) {
  if (length > limit_ - Length()) return false;
  try {
    MakeRoom(static_cast<long>(length));
  } catch (const std::bad_alloc&) {
    return false;
  }
  // The buffer is this body's alone, so it can be written to where it lies.
  std::memcpy(const_cast<char*>(bytes_.GetStr()) + length_, data, length);
  length_ += static_cast<long>(length);
  if (text_) text_->Append({data, length});
  return true;
}

void Body::Finish() { bytes_.Erase(length_, bytes_.Len()); }

}  // namespace http
