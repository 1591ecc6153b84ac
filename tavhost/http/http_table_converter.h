#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "tavhost/http/http_converter.h"

namespace http {

// A character of at most three bytes in UTF-8, in one word: what it holds is written at once.
class Character {
 public:
  static constexpr std::size_t kLongest = 3;

  Character() = default;  // none
  explicit Character(std::string_view utf8);
  // The first byte of a pair.
  static Character Lead() { return Character(kLeadLength << kLengthAt); }

  bool IsLead() const { return word_ >> kLengthAt == kLeadLength; }
  bool IsOne() const { return word_ >> kLengthAt != 0 && !IsLead(); }
  // Writes four bytes; its end is behind those that count.
  char* Put(char* out) const;

 private:
  static constexpr unsigned kLengthAt = 24;
  static constexpr std::uint32_t kLeadLength = 0xFF;
  explicit Character(std::uint32_t word) : word_(word) {}

  std::uint32_t word_ = 0;
};

// A charset whose characters have one byte or two, and that knows no states.
struct CharacterTable {
  std::array<Character, 256> single;
  std::vector<Character> pairs;  // by first and second byte; empty when no byte is a lead

  Character& Pair(unsigned char first, unsigned char second) {
    return pairs[std::size_t{first} << 8 | second];
  }
};

// What is in no table becomes U+FFFD, a byte at a time.
std::unique_ptr<Converter> MakeTableConverter(std::unique_ptr<CharacterTable> table);

}  // namespace http
