#include "tavhost/http/http_converter.h"

#include <utf8.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "tavhost/base/utf16.h"
#include "tavhost/base/utf8.h"
#include "tavhost/http/http_table_converter.h"

namespace http {

namespace {

constexpr std::size_t kWord = sizeof(std::uint64_t);
constexpr std::size_t kLongest = 4;  // bytes of a character
constexpr char32_t kUnknown = 0xFFFD;

std::uint64_t WordAt(const char* bytes) {
  std::uint64_t word;
  std::memcpy(&word, bytes, kWord);
  return word;
}

char* PutCodePoint(char32_t point, char* out) { return utf8::unchecked::append(point, out); }

// Where ASCII ends, or less than a word of it is left.
const char* BehindAscii(const char* in, const char* end) {
  while (end - in >= std::ptrdiff_t{kWord}) {
    const std::uint64_t others = WordAt(in) & 0x8080808080808080u;
    if (others != 0) return in + std::countr_zero(others) / 8;
    in += kWord;
  }
  return in;
}

// The rest of windows-1252 is as in ISO 8859-1.
constexpr char16_t kWindows1252[32] = {
    0x20AC, 0x81,   0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x8D,   0x017D, 0x8F,   0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x9D,   0x017E, 0x0178};

// `from80` are the characters of 0x80 to 0x9F, null where they are as in Unicode, as from 0xA0 on.
std::unique_ptr<Converter> SingleBytes(const char16_t* from80) {
  auto table = std::make_unique<CharacterTable>();
  for (unsigned byte = 0; byte < table->single.size(); ++byte) {
    const bool isOwn = from80 && byte >= 0x80 && byte < 0xA0;
    char character[kLongest];
    const char* const end = PutCodePoint(isOwn ? from80[byte - 0x80] : byte, character);
    table->single[byte] = Character({character, static_cast<std::size_t>(end - character)});
  }
  return MakeTableConverter(std::move(table));
}

class Utf16 final : public Converter {
 public:
  explicit Utf16(bool bigEndian) : bigEndian_(bigEndian) {}

  std::size_t RoomFor(std::size_t bytes) const override { return bytes / 2 * 3 + 4 * kLongest; }

  char* Append(std::string_view bytes, char* out) override {
    if (hasHalf_ && !bytes.empty()) {
      hasHalf_ = false;
      out = Take(UnitOf(half_, bytes.front()), out);
      bytes.remove_prefix(1);
    }
    const char* in = bytes.data();
    const char* const end = in + bytes.size() / kUnit * kUnit;
    for (; end - in >= std::ptrdiff_t{sizeof(Units)}; in += sizeof(Units)) {
      out = high_ == 0 ? TakeBlock(in, out) : TakeEach(in, in + sizeof(Units), out);
    }
    out = TakeEach(in, end, out);
    if (bytes.size() % kUnit != 0) {
      hasHalf_ = true;
      half_ = bytes.back();
    }
    return out;
  }

  char* Finish(char* out) override {
    if (high_ != 0) out = PutCodePoint(kUnknown, out);
    if (hasHalf_) out = PutCodePoint(kUnknown, out);
    return out;
  }

 private:
  static constexpr std::size_t kUnit = sizeof(char16_t);
  using Units [[gnu::vector_size(16)]] = std::uint16_t;
  using Bytes [[gnu::vector_size(8)]] = std::uint8_t;

  char16_t UnitOf(char first, char second) const {
    const auto one = static_cast<unsigned char>(first);
    const auto two = static_cast<unsigned char>(second);
    return static_cast<char16_t>(bigEndian_ ? one << 8 | two : two << 8 | one);
  }

  char* TakeEach(const char* in, const char* end, char* out) {
    for (; in != end; in += kUnit) out = Take(UnitOf(in[0], in[1]), out);
    return out;
  }

  // What is ASCII goes over as it is, as far as the next unit that is not. Where the next block
  // begins depends on nothing that is found in this one, so that the processor need not wait.
  // Writes a few bytes more than count.
  char* TakeBlock(const char* in, char* out) {
    static_assert(std::endian::native == std::endian::little);
    Units units;
    std::memcpy(&units, in, sizeof units);
    if (bigEndian_) units = units << 8 | units >> 8;
    constexpr std::uint64_t kEach = 0x0101010101010101u;
    auto ascii = std::bit_cast<std::uint64_t>(__builtin_convertvector(units, Bytes));
    auto others =
        std::bit_cast<std::uint64_t>(__builtin_convertvector(units > 0x7F, Bytes)) & kEach;
    if (others == kEach) return TakeEach(in, in + sizeof units, out);
    unsigned taken = 0;
    for (; others != 0; others &= others - 1) {
      const auto next = static_cast<unsigned>(std::countr_zero(others)) / 8;
      std::memcpy(out, &ascii, sizeof ascii);
      out += next - taken;
      ascii = ascii >> (8 * (next - taken)) >> 8;
      taken = next + 1;
      const char* const unit = in + next * kUnit;
      out = Take(UnitOf(unit[0], unit[1]), out);
      if (high_ != 0) return TakeEach(unit + kUnit, in + sizeof units, out);
    }
    std::memcpy(out, &ascii, sizeof ascii);
    return out + sizeof(Bytes) - taken;
  }

  char* Take(char16_t unit, char* out) {
    const bool isHalf = unit >= 0xD800 && unit < 0xE000;
    if (high_ != 0 || isHalf) [[unlikely]]
      return TakeHalf(unit, out);
    if (unit < 0x80) {
      *out = static_cast<char>(unit);
      return out + 1;
    }
    if (unit < 0x800) {
      out[0] = static_cast<char>(0xC0 | unit >> 6);
      out[1] = static_cast<char>(0x80 | (unit & 0x3F));
      return out + 2;
    }
    out[0] = static_cast<char>(0xE0 | unit >> 12);
    out[1] = static_cast<char>(0x80 | (unit >> 6 & 0x3F));
    out[2] = static_cast<char>(0x80 | (unit & 0x3F));
    return out + 3;
  }

  // One half of a pair, or a unit behind a first half.
  char* TakeHalf(char16_t unit, char* out) {
    const bool isHigh = unit >= 0xD800 && unit < 0xDC00;
    const bool isLow = unit >= 0xDC00 && unit < 0xE000;
    if (high_ != 0) {
      const char32_t high = std::exchange(high_, u'\0');
      if (isLow) {
        return PutCodePoint(0x10000 + ((high - 0xD800) << 10) + (unit - 0xDC00u), out);
      }
      out = PutCodePoint(kUnknown, out);
    }
    if (isHigh) {
      high_ = unit;
      return out;
    }
    return PutCodePoint(isLow ? kUnknown : char32_t{unit}, out);
  }

  const bool bigEndian_;
  bool hasHalf_ = false;  // of a unit, whose second byte is still to come
  char half_ = 0;
  char16_t high_ = 0;  // the first half of a pair, 0: none
};

class Utf32 final : public Converter {
 public:
  explicit Utf32(bool bigEndian) : bigEndian_(bigEndian) {}

  std::size_t RoomFor(std::size_t bytes) const override { return bytes + 2 * kLongest; }

  char* Append(std::string_view bytes, char* out) override {
    for (const char c : bytes) {
      const char32_t byte = static_cast<unsigned char>(c);
      point_ |= bigEndian_ ? byte << (24 - 8 * taken_) : byte << (8 * taken_);
      if (++taken_ == kUnit) out = Put(out);
    }
    return out;
  }
  // What is left of a unit is no character.
  char* Finish(char* out) override {
    point_ = kNone;
    return taken_ == 0 ? out : Put(out);
  }

 private:
  static constexpr unsigned kUnit = 4;
  static constexpr char32_t kNone = 0xFFFFFFFF;

  char* Put(char* out) {
    const bool isCharacter = point_ < 0xD800 || (point_ >= 0xE000 && point_ <= 0x10FFFF);
    out = PutCodePoint(isCharacter ? point_ : kUnknown, out);
    point_ = 0;
    taken_ = 0;
    return out;
  }

  const bool bigEndian_;
  char32_t point_ = 0;  // as far as its bytes have come
  unsigned taken_ = 0;  // how many those are
};

// Bytes that are meant to be UTF-8, made so.
class Repair final : public Converter {
 public:
  std::size_t RoomFor(std::size_t bytes) const override { return (rest_.size() + bytes) * 3; }

  char* Append(std::string_view bytes, char* out) override {
    rest_.append(bytes);
    const std::size_t whole = rest_.size() - CutOff();
    out = Put(std::string_view(rest_).substr(0, whole), out);
    rest_.erase(0, whole);
    return out;
  }
  char* Finish(char* out) override { return Put(rest_, out); }

 private:
  char* Put(std::string_view bytes, char* out) {
    if (isBroken_) {
      const auto rest = std::find_if_not(bytes.begin(), bytes.end(), utf8::IsContinuation);
      bytes.remove_prefix(static_cast<std::size_t>(rest - bytes.begin()));
    }
    if (!bytes.empty()) isBroken_ = EndsBroken(bytes);
    const std::string_view good = utf16::WellFormed(bytes, room_);
    return std::copy(good.begin(), good.end(), out);
  }

  // Whether bytes that continue a character would still belong to the last one, which is broken.
  static bool EndsBroken(std::string_view bytes) {
    std::size_t last = bytes.size() - 1;
    while (last > 0 && utf8::IsContinuation(bytes[last])) --last;
    const auto lead = static_cast<unsigned char>(bytes[last]);
    if (lead < 0xC0 || lead >= 0xF8) return false;
    Utf8Check check;
    return !check.Append(bytes.substr(last, LengthBy(lead))) || !check.IsComplete();
  }

  static std::size_t LengthBy(unsigned char lead) {
    return lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  }

  // How many bytes at the end may belong to a character whose other bytes are still to come.
  std::size_t CutOff() const {
    const std::size_t size = rest_.size();
    for (std::size_t back = 1; back <= std::min<std::size_t>(3, size); ++back) {
      const auto byte = static_cast<unsigned char>(rest_[size - back]);
      if (byte < 0x80) return 0;
      if (byte < 0xC0) continue;
      return LengthBy(byte) > back ? back : 0;
    }
    return 0;
  }

  std::string rest_;
  std::string room_;
  bool isBroken_ = false;  // the last character was; what continues it belongs to it
};

}  // namespace

std::unique_ptr<Converter> MakeConverter(std::string_view charset) {
  if (charset == "utf-8" || charset == "utf8") return std::make_unique<Repair>();
  if (charset == "windows-1252" || charset == "cp1252") return SingleBytes(kWindows1252);
  if (charset == "iso-8859-1") return SingleBytes(nullptr);
  if (charset == "utf-16le") return std::make_unique<Utf16>(false);
  if (charset == "utf-16be") return std::make_unique<Utf16>(true);
  if (charset == "utf-32le") return std::make_unique<Utf32>(false);
  if (charset == "utf-32be") return std::make_unique<Utf32>(true);
  return nullptr;
}

bool Utf8Check::Append(std::string_view bytes) {
  const char* in = bytes.data();
  const char* const end = in + bytes.size();
  while (in != end) {
    if (missing_ > 0) {
      in = TakeRest(in, end);
      if (!in) return false;
      continue;
    }
    in = BehindAscii(in, end);
    if (in == end) break;
    const auto byte = static_cast<unsigned char>(*in);
    // Two bytes are by far the most of what is not ASCII.
    if (byte < 0x80) {
      ++in;
    } else if (byte >= 0xC2 && byte < 0xE0 && end - in >= 2 && utf8::IsContinuation(in[1])) {
      in += 2;
    } else {
      ++in;
      if (!TakeLead(byte)) return false;
    }
  }
  return true;
}

// The bytes of a character behind its first; null when they cannot be.
const char* Utf8Check::TakeRest(const char* in, const char* end) {
  for (; missing_ > 0 && in != end; ++in, --missing_) {
    const auto byte = static_cast<unsigned char>(*in);
    if (byte < least_ || byte > most_) return nullptr;
    least_ = 0x80;
    most_ = 0xBF;
  }
  return in;
}

// The first byte of a character tells how many follow, and what the second may be.
bool Utf8Check::TakeLead(unsigned char byte) {
  if (byte < 0xC2 || byte > 0xF4) return false;
  missing_ = byte >= 0xF0 ? 3 : byte >= 0xE0 ? 2 : 1;
  if (byte == 0xE0) least_ = 0xA0;
  if (byte == 0xED) most_ = 0x9F;
  if (byte == 0xF0) least_ = 0x90;
  if (byte == 0xF4) most_ = 0x8F;
  return true;
}

}  // namespace http
