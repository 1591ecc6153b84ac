#include "tavhost/notation/xml_name.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "tavhost/notation/scan.h"
#include "tavhost/notation/utf8_character.h"

namespace kel {

namespace {

struct Range {
  std::uint32_t first;
  std::uint32_t last;
};

// Letters of the scripts in common use, in order.
constexpr Range kLetters[] = {
    {0x00C0, 0x00D6}, {0x00D8, 0x00F6}, {0x00F8, 0x0131}, {0x0134, 0x013E}, {0x0141, 0x0148},
    {0x014A, 0x017E}, {0x0180, 0x01C3}, {0x01CD, 0x01F0}, {0x01F4, 0x01F5}, {0x01FA, 0x0217},
    {0x0250, 0x02A8}, {0x0386, 0x0386}, {0x0388, 0x038A}, {0x038C, 0x038C}, {0x038E, 0x03A1},
    {0x03A3, 0x03CE}, {0x0401, 0x040C}, {0x040E, 0x044F}, {0x0451, 0x045C}, {0x045E, 0x0481},
    {0x0490, 0x04C4}, {0x0531, 0x0556}, {0x0561, 0x0586}, {0x05D0, 0x05EA}, {0x0621, 0x063A},
    {0x0641, 0x064A}, {0x0671, 0x06B7}, {0x0905, 0x0939}, {0x0E01, 0x0E2E}, {0x10A0, 0x10C5},
    {0x10D0, 0x10F6}, {0x1E00, 0x1E9B}, {0x1EA0, 0x1EF9}, {0x1F00, 0x1F15}, {0x1F20, 0x1F45},
    {0x3041, 0x3094}, {0x30A1, 0x30FA}, {0x3105, 0x312C}, {0x4E00, 0x9FA5}, {0xAC00, 0xD7A3},
};

bool IsLetter(std::uint32_t code) {
  const auto* const range = std::partition_point(std::begin(kLetters), std::end(kLetters),
                                                 [code](const Range& r) { return r.last < code; });
  return range != std::end(kLetters) && range->first <= code;
}

bool MayStand(std::uint32_t code, bool first) {
  if (code >= 0x80) return IsLetter(code);
  const char byte = static_cast<char>(code);
  return IsNameStart(byte) || (!first && (IsDigit(byte) || byte == '-' || byte == '.'));
}

}  // namespace

std::string XmlName(std::string_view text) {
  std::string name;
  const char* at = text.data();
  const char* const end = at + text.size();
  while (at != end) {
    const Utf8Character character = CharacterAt(at, end);
    if (character.code != kNotACharacter && MayStand(character.code, name.empty())) {
      name.append(at, character.length);
    } else {
      name += '_';
    }
    at += character.length;
  }
  return name.empty() ? "_" : name;
}

}  // namespace kel
