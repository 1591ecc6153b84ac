#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace http {

// From the bytes of one charset to UTF-8, piece by piece: a character may lie across the border of
// two pieces. What the charset does not allow becomes U+FFFD.
class Converter {
 public:
  virtual ~Converter() = default;

  // The most bytes that Append of so many may write to, and Finish behind them.
  virtual std::size_t RoomFor(std::size_t bytes) const = 0;
  // Both write the text to `out` and return its end there.
  virtual char* Append(std::string_view bytes, char* out) = 0;
  virtual char* Finish(char* out) = 0;  // behind the last piece
};

// For UTF-8 itself, UTF-16, UTF-32 and the western charsets, by their names in lower case; null for
// others. No byte-order mark is looked for.
std::unique_ptr<Converter> MakeConverter(std::string_view charset);

// For whatever else the system knows; null for what it does not. `bytes` is how much is to come.
// Platform part.
std::unique_ptr<Converter> MakeSystemConverter(const std::string& charset, std::uint64_t bytes);

// Whether bytes, piece by piece, are well-formed UTF-8 (RFC 3629).
class Utf8Check {
 public:
  // False from the first piece on that is not.
  bool Append(std::string_view bytes);
  // The last piece did not end in the middle of a character.
  bool IsComplete() const { return missing_ == 0; }

 private:
  const char* TakeRest(const char* in, const char* end);
  bool TakeLead(unsigned char byte);

  unsigned missing_ = 0;  // bytes of the present character, still to come
  // What the next of them must lie between.
  unsigned char least_ = 0x80;
  unsigned char most_ = 0xBF;
};

}  // namespace http
