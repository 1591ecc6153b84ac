#pragma once

#include "host/base/string.h"

namespace names {

class Literal;

// The name as a string. Handlers use the same few literals over and over; each keeps its string,
// found by its address, so that naming something allocates nothing. The string may make room for
// another at the next call.
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
