#pragma once

#include <cstddef>
#include <cstdint>

#include "host/base/string.h"

namespace http {

// Gathers bytes piece by piece as they come, in one buffer with as few copies as can be.
class Body {
 public:
  // `bytes` must be empty, and is not to be read before Finish.
  Body(SV::String& bytes, std::size_t limit) : bytes_(bytes), limit_(limit) {}

  // How much is to come, if that is known, or the most it can be; room is made for all of it at
  // once if there is so much. Memory is only taken for what really comes.
  void Announce(std::uint64_t length);
  // False when the limit is passed. Throws std::bad_alloc.
  bool Append(const char* data, std::size_t length);
  // Room for so many bytes behind those that are there, to be written before anything else is asked
  // for; Advance tells how many were. Null like Append's false.
  char* Room(std::size_t length);
  void Advance(std::size_t length) { length_ += static_cast<long>(length); }
  void Finish();
  std::size_t Length() const { return static_cast<std::size_t>(length_); }

 private:
  void MakeRoom(long more);

  SV::String& bytes_;  // what lies behind length_ in it is room
  std::size_t limit_;
  long announced_ = 0;
  long length_ = 0;
};

}  // namespace http
