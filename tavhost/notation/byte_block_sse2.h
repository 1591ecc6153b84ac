#pragma once

#include <emmintrin.h>

#include <cstdint>

namespace kel::sse2 {

// 16 bytes. Each question is answered by a mask, bit i for byte i.
class ByteBlock {
 public:
  static constexpr unsigned kWidth = 16;

  explicit ByteBlock(const char* at)
      : bytes_(_mm_loadu_si128(reinterpret_cast<const __m128i*>(at))) {}

  std::uint32_t Equal(char byte) const { return Mask(_mm_cmpeq_epi8(bytes_, _mm_set1_epi8(byte))); }

  std::uint32_t EitherOf(char one, char other) const {
    return Mask(_mm_or_si128(_mm_cmpeq_epi8(bytes_, _mm_set1_epi8(one)),
                             _mm_cmpeq_epi8(bytes_, _mm_set1_epi8(other))));
  }

  // ASCII letters, digits and `_`.
  std::uint32_t NameBytes() const {
    const __m128i lower = _mm_or_si128(bytes_, _mm_set1_epi8(0x20));
    const __m128i letters = UpTo(_mm_sub_epi8(lower, _mm_set1_epi8('a')), 25);
    const __m128i digits = UpTo(_mm_sub_epi8(bytes_, _mm_set1_epi8('0')), 9);
    const __m128i line = _mm_cmpeq_epi8(bytes_, _mm_set1_epi8('_'));
    return Mask(_mm_or_si128(_mm_or_si128(letters, digits), line));
  }

  // What may not stand as it is in an XML attribute: & < > " , bytes below the blank, and bytes
  // above ASCII, which are looked at closely.
  std::uint32_t XmlSpecial() const {
    const __m128i low = _mm_cmpgt_epi8(_mm_set1_epi8(0x20), bytes_);  // signed: also above ASCII
    const __m128i pair = _mm_or_si128(_mm_cmpeq_epi8(bytes_, _mm_set1_epi8('&')),
                                      _mm_cmpeq_epi8(bytes_, _mm_set1_epi8('"')));
    const __m128i angle = _mm_or_si128(_mm_cmpeq_epi8(bytes_, _mm_set1_epi8('<')),
                                       _mm_cmpeq_epi8(bytes_, _mm_set1_epi8('>')));
    return Mask(_mm_or_si128(low, _mm_or_si128(pair, angle)));
  }

 private:
  // The bytes that are not above `limit`, compared without sign.
  static __m128i UpTo(__m128i bytes, char limit) {
    return _mm_cmpeq_epi8(_mm_min_epu8(bytes, _mm_set1_epi8(limit)), bytes);
  }
  static std::uint32_t Mask(__m128i bytes) {
    return static_cast<std::uint32_t>(_mm_movemask_epi8(bytes));
  }

  __m128i bytes_;
};

}  // namespace kel::sse2
