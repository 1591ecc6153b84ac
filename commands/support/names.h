#pragma once

#include "host/base/string.h"

namespace names {

class Literal;

// The name as a string, which the host's operations want. Handlers use the same few literals over
// and over; a string is made once for each and found again by the literal's address, so that naming
// a parameter allocates nothing. The reference is good until the next call.
const SV::String& Kept(Literal name);

// The name of a parameter or variable: a literal, which stays where it is. The parameters of a
// source's commands are constants at its head, so that what is checked is what is read.
//
//   constexpr names::Literal kFile = "file";
//   ...
//   if (checks::Fails(parser, kFile, TavKelString, result, checks::kRequired)) return;
//   const SV::String file = parser.GetStrValue(kFile);
class Literal {
 public:
  consteval Literal(const char* text) : text_(text) {}

  const char* Text() const { return text_; }
  // The host takes names as strings.
  operator const SV::String&() const { return Kept(*this); }

 private:
  const char* text_;
};

}  // namespace names
