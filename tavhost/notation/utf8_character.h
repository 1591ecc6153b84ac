#pragma once

#include <cstdint>

namespace kel {

// A character of a UTF-8 text, or bytes that are none.
struct Utf8Character {
  std::uint32_t code;    // kNotACharacter when the bytes are not well-formed
  std::uint32_t length;  // bytes that it takes, at least 1
};

inline constexpr std::uint32_t kNotACharacter = 0xFFFFFFFF;

// The character at `at`, which is before `end`. Of bytes that are not well-formed (RFC 3629), the
// longest beginning of a character is taken together, any other byte alone.
inline Utf8Character CharacterAt(const char* at, const char* end) noexcept {
  const auto byte = [at](int i) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(at[i]));
  };
  const std::uint32_t lead = byte(0);
  if (lead < 0x80) return {lead, 1};
  const std::uint32_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4) return {kNotACharacter, 1};
  std::uint32_t code = lead & (0x7Fu >> length);
  for (std::uint32_t i = 1; i < length; ++i) {
    if (at + i == end || (byte(static_cast<int>(i)) & 0xC0) != 0x80) return {kNotACharacter, i};
    const std::uint32_t next = byte(static_cast<int>(i));
    if (i == 1) {
      const bool overlong = (lead == 0xE0 && next < 0xA0) || (lead == 0xF0 && next < 0x90);
      const bool surrogate = lead == 0xED && next > 0x9F;
      const bool tooLarge = lead == 0xF4 && next > 0x8F;
      if (overlong || surrogate || tooLarge) return {kNotACharacter, 1};
    }
    code = (code << 6) | (next & 0x3F);
  }
  return {code, length};
}

}  // namespace kel
