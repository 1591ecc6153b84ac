#include "tavhost/base/letter_case.h"

#include <cstdint>
#include <string>

#include "tavhost/base/string_of.h"

namespace base {

namespace {

// Small letters `first` to `last`, whose capitals lie `distance` before them; with `step` 2 small
// letters and capitals alternate and only every second one from `first` on is a small letter.
struct SmallLetters {
  std::uint32_t first;
  std::uint32_t last;
  std::int32_t distance;
  std::uint32_t step;
};

constexpr SmallLetters kLetters[] = {
    {'a', 'z', 32, 1},      {0xE0, 0xF6, 32, 1},    {0xF8, 0xFE, 32, 1},   {0xFF, 0xFF, -121, 1},
    {0x101, 0x12F, 1, 2},   {0x133, 0x137, 1, 2},   {0x13A, 0x148, 1, 2},  {0x14B, 0x177, 1, 2},
    {0x17A, 0x17E, 1, 2},   {0x1CE, 0x1DC, 1, 2},   {0x1DF, 0x1EF, 1, 2},  {0x201, 0x21F, 1, 2},
    {0x223, 0x233, 1, 2},   {0x3AC, 0x3AC, 38, 1},  {0x3AD, 0x3AF, 37, 1}, {0x3B1, 0x3C1, 32, 1},
    {0x3C3, 0x3CB, 32, 1},  {0x3CC, 0x3CC, 64, 1},  {0x3CD, 0x3CE, 63, 1}, {0x430, 0x44F, 32, 1},
    {0x450, 0x45F, 80, 1},  {0x461, 0x481, 1, 2},   {0x48B, 0x4BF, 1, 2},  {0x4D1, 0x52F, 1, 2},
    {0x1E01, 0x1E95, 1, 2}, {0x1EA1, 0x1EFF, 1, 2},
};

std::uint32_t Capital(std::uint32_t letter) {
  for (const SmallLetters& range : kLetters) {
    if (letter < range.first || letter > range.last) continue;
    if ((letter - range.first) % range.step != 0) continue;
    return letter - static_cast<std::uint32_t>(range.distance);
  }
  return letter;
}

std::uint32_t Small(std::uint32_t letter) {
  for (const SmallLetters& range : kLetters) {
    const std::uint32_t small = letter + static_cast<std::uint32_t>(range.distance);
    if (small < range.first || small > range.last) continue;
    if ((small - range.first) % range.step != 0) continue;
    return small;
  }
  return letter;
}

// The letter at `at`, and in `length` the bytes that it takes. Every letter with a counterpart
// takes one, two or three bytes; any other byte is told as 0, takes one, and passes unchanged.
std::uint32_t Decode(const unsigned char* at, std::size_t left, std::size_t& length) {
  const auto follows = [&](std::size_t i) { return i < left && (at[i] & 0xC0) == 0x80; };
  length = 1;
  if ((at[0] & 0xE0) == 0xC0 && follows(1)) {
    length = 2;
    return (at[0] & 0x1Fu) << 6 | (at[1] & 0x3Fu);
  }
  if ((at[0] & 0xF0) == 0xE0 && follows(1) && follows(2)) {
    length = 3;
    return (at[0] & 0x0Fu) << 12 | (at[1] & 0x3Fu) << 6 | (at[2] & 0x3Fu);
  }
  return at[0] < 0x80 ? at[0] : 0;
}

void Encode(std::string& out, std::uint32_t letter) {
  if (letter < 0x80) {
    out += static_cast<char>(letter);
  } else if (letter < 0x800) {
    out += static_cast<char>(0xC0 | letter >> 6);
    out += static_cast<char>(0x80 | (letter & 0x3F));
  } else {
    out += static_cast<char>(0xE0 | letter >> 12);
    out += static_cast<char>(0x80 | (letter >> 6 & 0x3F));
    out += static_cast<char>(0x80 | (letter & 0x3F));
  }
}

// The text with `change` done to each letter.
template <typename Change>
SV::String Changed(const SV::String& text, Change change) {
  std::string out;
  out.reserve(text.View().size());
  const auto* bytes = reinterpret_cast<const unsigned char*>(text.GetStr());
  const std::size_t size = text.View().size();
  for (std::size_t at = 0, length = 0; at < size; at += length) {
    const std::uint32_t letter = Decode(bytes + at, size - at, length);
    const std::uint32_t changed = letter == 0 ? 0 : change(letter);
    if (changed == letter) {
      out.append(text.GetStr() + at, length);
    } else {
      Encode(out, changed);
    }
  }
  return base::StringOf(out);
}

}  // namespace

SV::String ToUpperCase(const SV::String& text) { return Changed(text, Capital); }

SV::String ToLowerCase(const SV::String& text) { return Changed(text, Small); }

}  // namespace base
