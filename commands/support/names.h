#pragma once

#include "host/base/string.h"

namespace names {

// The name of a parameter or variable, written as a literal: it lies at the same address as long as
// the plug-in is loaded. A text that is put together while the plug-in runs cannot become one.
class Literal {
 public:
  consteval Literal(const char* text) : text_(text) {}

  const char* Text() const { return text_; }

 private:
  const char* text_;
};

// The name as a string, which the host's operations want. Handlers use the same few literals over
// and over; a string is made once for each and found again by the literal's address, so that naming
// a parameter allocates nothing. The reference is good until the next call.
const SV::String& Kept(Literal name);

}  // namespace names
