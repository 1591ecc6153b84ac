#pragma once

#include <cstddef>
#include <cstdint>

#include "host/base/string.h"

namespace http {

class BodyText;

// Gathers an answer's body, piece by piece as it comes, in one buffer with as few copies as can be.
class Body {
 public:
  // `bytes` must be empty, and is not to be read before Finish. `text`, if there is one, is given
  // each piece as well.
  Body(SV::String& bytes, std::size_t limit, BodyText* text = nullptr)
      : bytes_(bytes), limit_(limit), text_(text) {}

  // How much is to come, if that is known; room is made for all of it at once.
  void Announce(std::uint64_t length);
  // False when the limit is passed or memory is out.
  bool Append(const char* data, std::size_t length);
  void Finish();
  std::size_t Length() const { return static_cast<std::size_t>(length_); }

 private:
  void MakeRoom(long more);

  SV::String& bytes_;  // what lies behind length_ in it is room
  std::size_t limit_;
  BodyText* text_;
  long announced_ = 0;
  long length_ = 0;
};

}  // namespace http
