#pragma once

#include "host/base/string.h"

namespace names {

// The name of a parameter or variable: a literal, which stays where it is.
class Literal {
 public:
  consteval Literal(const char* text) : text_(text) {}

  const char* Text() const { return text_; }

 private:
  const char* text_;
};

// The name as a string. Handlers use the same few literals over and over; each keeps its string,
// found by its address, so that naming something allocates nothing. The string may make room for
// another at the next call.
const SV::String& Kept(Literal name);

}  // namespace names
