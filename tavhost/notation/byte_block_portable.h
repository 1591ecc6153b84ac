#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

namespace kel::portable {

// 8 bytes in one word; the same questions and answers as the vector form.
class ByteBlock {
 public:
  static constexpr unsigned kWidth = 8;

  explicit ByteBlock(const char* at) {
    for (unsigned i = 0; i < kWidth; ++i) {
      word_ |= std::uint64_t{static_cast<unsigned char>(at[i])} << (8 * i);
    }
  }

  std::uint32_t Equal(char byte) const { return Mask(EqualBytes(byte)); }

  std::uint32_t EitherOf(char one, char other) const {
    return Mask(EqualBytes(one) | EqualBytes(other));
  }

  std::uint32_t NameBytes() const {
    const std::uint64_t letters = InRange(word_ | Repeat(0x20), 'a', 'z');
    return Mask(letters | InRange(word_, '0', '9') | EqualBytes('_'));
  }

  std::uint32_t XmlSpecial() const {
    const std::uint64_t plain = InRange(word_, 0x20, 0x7F);
    return Mask((~plain & kHigh) | EqualBytes('&') | EqualBytes('"') | EqualBytes('<') |
                EqualBytes('>'));
  }

 private:
  static constexpr std::uint64_t kHigh = 0x8080808080808080;

  static constexpr std::uint64_t Repeat(unsigned char byte) {
    return std::uint64_t{0x0101010101010101} * byte;
  }
  // The high bit of each byte between the two ASCII bytes, both included. A byte plus
  // 0x80 - `from` has its high bit when the byte is at least `from`; with 0x7F - `to` it has it
  // when the byte is above `to`.
  static std::uint64_t InRange(std::uint64_t word, unsigned char from, unsigned char to) {
    const std::uint64_t ascii = word & ~kHigh;
    const std::uint64_t notBelow = ascii + Repeat(static_cast<unsigned char>(0x80 - from));
    const std::uint64_t above = ascii + Repeat(static_cast<unsigned char>(0x7F - to));
    return notBelow & ~above & ~word & kHigh;
  }
  // The high bit of each byte that equals `byte`, which leaves 0 there in `differing`: only to a 0
  // can 0x7F be added without a high bit coming out.
  std::uint64_t EqualBytes(char byte) const {
    const std::uint64_t differing = word_ ^ Repeat(static_cast<unsigned char>(byte));
    const std::uint64_t low = (differing & ~kHigh) + ~kHigh;
    return ~(low | differing) & kHigh;
  }
  // The high bits gathered: byte i's to bit i.
  static std::uint32_t Mask(std::uint64_t highBits) {
    return static_cast<std::uint32_t>(((highBits >> 7) * 0x0102040810204080) >> 56);
  }

  std::uint64_t word_ = 0;
};

}  // namespace kel::portable
