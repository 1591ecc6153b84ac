#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "tavhost/http/http_body.h"

namespace http {

// From the bytes of one charset to UTF-8, piece by piece as they come: a character may lie across
// the border of two pieces. What the charset does not allow becomes U+FFFD.
class Converter {
 public:
  virtual ~Converter() = default;

  // Both append to the text, and return false when it takes no more.
  virtual bool Append(std::string_view bytes, Body& text) = 0;
  virtual bool Finish(Body& text) = 0;  // behind the last piece
};

// For UTF-8 itself, UTF-16, UTF-32 and the western charsets, by their names in lower case; null for
// others. No byte-order mark is looked for.
std::unique_ptr<Converter> MakeConverter(std::string_view charset);

// For whatever else the system knows; null for what it does not. Platform part.
std::unique_ptr<Converter> MakeSystemConverter(const std::string& charset);

// Whether bytes, piece by piece as they come, are well-formed UTF-8 (RFC 3629).
class Utf8Check {
 public:
  // False from the first piece on that is not.
  bool Append(std::string_view bytes);
  // The last piece did not end in the middle of a character.
  bool IsComplete() const { return missing_ == 0; }

 private:
  bool TakeLead(unsigned char byte);

  unsigned missing_ = 0;  // bytes of the present character, still to come
  // What the next of them must lie between.
  unsigned char least_ = 0x80;
  unsigned char most_ = 0xBF;
};

}  // namespace http
