#include "tavhost/http/http_converter.h"

#include <utf8.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "tavhost/base/utf16.h"

namespace http {

namespace {

constexpr std::size_t kWord = sizeof(std::uint64_t);

bool IsAscii(const char* word) {
  std::uint64_t bytes;
  std::memcpy(&bytes, word, kWord);
  return (bytes & 0x8080808080808080u) == 0;
}

bool Append(std::string_view utf8, Body& text) { return text.Append(utf8.data(), utf8.size()); }

char* PutCodePoint(char32_t point, char* out) { return utf8::unchecked::append(point, out); }

// Charsets of one byte a character, ASCII in their lower half.
class SingleBytes final : public Converter {
 public:
  // `from80` are the characters of 0x80 to 0x9F, null where they are as in Unicode, as from 0xA0
  // on.
  explicit SingleBytes(const char16_t* from80) : from80_(from80) {}

  bool Append(std::string_view bytes, Body& text) override {
    constexpr std::size_t kPiece = 4096;
    constexpr std::size_t kMostOf = 3;  // bytes of a character
    std::array<char, kPiece * kMostOf + kWord> room;
    while (!bytes.empty()) {
      const std::string_view piece = bytes.substr(0, kPiece);
      bytes.remove_prefix(piece.size());
      const char* const end = Convert(piece, room.data());
      if (!text.Append(room.data(), static_cast<std::size_t>(end - room.data()))) return false;
    }
    return true;
  }
  bool Finish(Body&) override { return true; }

 private:
  char* Convert(std::string_view piece, char* out) const {
    const char* in = piece.data();
    const char* const end = in + piece.size();
    while (in != end) {
      while (static_cast<std::size_t>(end - in) >= kWord && IsAscii(in)) {
        std::memcpy(out, in, kWord);
        in += kWord;
        out += kWord;
      }
      if (in == end) break;
      const auto byte = static_cast<unsigned char>(*in++);
      const char16_t unit = from80_ && byte >= 0x80 && byte < 0xA0 ? from80_[byte - 0x80] : byte;
      out = PutCodePoint(unit, out);
    }
    return out;
  }

  const char16_t* from80_;
};

// The rest of windows-1252 is as in ISO 8859-1.
constexpr char16_t kWindows1252[32] = {
    0x20AC, 0x81,   0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x8D,   0x017D, 0x8F,   0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x9D,   0x017E, 0x0178};

class Utf16 final : public Converter {
 public:
  explicit Utf16(bool bigEndian) : bigEndian_(bigEndian) {}

  bool Append(std::string_view bytes, Body& text) override {
    if (hasHalf_ && !bytes.empty()) {
      hasHalf_ = false;
      Take(UnitOf(half_, bytes.front()));
      bytes.remove_prefix(1);
    }
    while (bytes.size() >= kUnit) {
      const std::size_t ascii = high_ == 0 ? TakeAscii(bytes) : 0;
      bytes.remove_prefix(ascii * kUnit);
      if (ascii == 0) {
        Take(UnitOf(bytes[0], bytes[1]));
        bytes.remove_prefix(kUnit);
      }
      if (length_ > room_.size() - kMostAtOnce && !Flush(text)) return false;
    }
    if (!bytes.empty()) {
      hasHalf_ = true;
      half_ = bytes.front();
    }
    return Flush(text);
  }

  bool Finish(Body& text) override {
    if (high_ != 0) Put(kUnknown);
    if (hasHalf_) Put(kUnknown);
    return Flush(text);
  }

 private:
  static constexpr char32_t kUnknown = 0xFFFD;
  static constexpr std::size_t kUnit = sizeof(char16_t);
  static constexpr std::size_t kMostAtOnce = 16;  // bytes that a round can bring

  char16_t UnitOf(char first, char second) const {
    const auto one = static_cast<unsigned char>(first);
    const auto two = static_cast<unsigned char>(second);
    return static_cast<char16_t>(bigEndian_ ? one << 8 | two : two << 8 | one);
  }

  // Takes the first units while they are ASCII, as many as fit into the room, word by word; how
  // many they were.
  std::size_t TakeAscii(std::string_view bytes) {
    constexpr std::size_t kUnits = kWord / kUnit;
    const std::size_t low = bigEndian_ ? 1 : 0;  // where in a unit its lower byte lies
    const std::size_t most = std::min(bytes.size() / kWord, (room_.size() - length_) / kUnits);
    std::size_t words = 0;
    for (; words < most; ++words) {
      const char* const word = bytes.data() + words * kWord;
      unsigned char upper = 0;
      unsigned char lower = 0;
      for (std::size_t i = 0; i < kUnits; ++i) {
        upper |= static_cast<unsigned char>(word[i * kUnit + 1 - low]);
        lower |= static_cast<unsigned char>(word[i * kUnit + low]);
      }
      if (upper != 0 || lower >= 0x80) break;
      char* const out = room_.data() + length_ + words * kUnits;
      for (std::size_t i = 0; i < kUnits; ++i) out[i] = word[i * kUnit + low];
    }
    length_ += words * kUnits;
    return words * kUnits;
  }

  void Take(char16_t unit) {
    const bool isHigh = unit >= 0xD800 && unit < 0xDC00;
    const bool isLow = unit >= 0xDC00 && unit < 0xE000;
    if (high_ != 0) {
      const char32_t high = high_;
      high_ = 0;
      if (isLow) return Put(0x10000 + ((high - 0xD800) << 10) + (unit - 0xDC00u));
      Put(kUnknown);
    }
    if (isHigh) {
      high_ = unit;
    } else {
      Put(isLow ? kUnknown : char32_t{unit});
    }
  }
  void Put(char32_t point) {
    char* const out = room_.data() + length_;
    length_ += static_cast<std::size_t>(PutCodePoint(point, out) - out);
  }
  bool Flush(Body& text) {
    const std::size_t length = length_;
    length_ = 0;
    return text.Append(room_.data(), length);
  }

  const bool bigEndian_;
  bool hasHalf_ = false;  // of a unit, whose second byte is still to come
  char half_ = 0;
  char16_t high_ = 0;  // the first half of a pair, 0: none
  std::size_t length_ = 0;
  std::array<char, 16384> room_;
};

class Utf32 final : public Converter {
 public:
  explicit Utf32(bool bigEndian) : bigEndian_(bigEndian) {}

  bool Append(std::string_view bytes, Body& text) override {
    for (const char c : bytes) {
      const char32_t byte = static_cast<unsigned char>(c);
      point_ |= bigEndian_ ? byte << (24 - 8 * taken_) : byte << (8 * taken_);
      if (++taken_ < kUnit) continue;
      if (!Put(text)) return false;
    }
    return Flush(text);
  }
  // What is left of a unit is no character.
  bool Finish(Body& text) override {
    point_ = kNone;
    return (taken_ == 0 || Put(text)) && Flush(text);
  }

 private:
  static constexpr unsigned kUnit = 4;
  static constexpr char32_t kNone = 0xFFFFFFFF;

  bool Put(Body& text) {
    const bool isCharacter = point_ < 0xD800 || (point_ >= 0xE000 && point_ <= 0x10FFFF);
    char* const out = room_.data() + length_;
    length_ =
        static_cast<std::size_t>(PutCodePoint(isCharacter ? point_ : 0xFFFD, out) - room_.data());
    point_ = 0;
    taken_ = 0;
    return length_ + kUnit <= room_.size() || Flush(text);
  }
  bool Flush(Body& text) {
    const std::size_t length = std::exchange(length_, 0);
    return text.Append(room_.data(), length);
  }

  const bool bigEndian_;
  char32_t point_ = 0;  // as far as its bytes have come
  unsigned taken_ = 0;  // how many those are
  std::size_t length_ = 0;
  std::array<char, 4096> room_;
};

// Bytes that are meant to be UTF-8, made so.
class Repair final : public Converter {
 public:
  bool Append(std::string_view bytes, Body& text) override {
    rest_.append(bytes);
    const std::size_t whole = rest_.size() - CutOff();
    const bool taken = Put(std::string_view(rest_).substr(0, whole), text);
    rest_.erase(0, whole);
    return taken;
  }
  bool Finish(Body& text) override { return Put(rest_, text); }

 private:
  bool Put(std::string_view bytes, Body& text) {
    return http::Append(utf16::WellFormed(bytes, room_), text);
  }

  // How many bytes at the end may belong to a character whose other bytes are still to come.
  std::size_t CutOff() const {
    const std::size_t size = rest_.size();
    for (std::size_t back = 1; back <= std::min<std::size_t>(3, size); ++back) {
      const auto byte = static_cast<unsigned char>(rest_[size - back]);
      if (byte < 0x80) return 0;
      if (byte < 0xC0) continue;
      const std::size_t length = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : 2;
      return length > back ? back : 0;
    }
    return 0;
  }

  std::string rest_;
  std::string room_;
};

}  // namespace

std::unique_ptr<Converter> MakeConverter(std::string_view charset) {
  if (charset == "utf-8" || charset == "utf8") return std::make_unique<Repair>();
  if (charset == "windows-1252" || charset == "cp1252") {
    return std::make_unique<SingleBytes>(kWindows1252);
  }
  if (charset == "iso-8859-1") return std::make_unique<SingleBytes>(nullptr);
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
    if (missing_ == 0) {
      while (static_cast<std::size_t>(end - in) >= kWord && IsAscii(in)) in += kWord;
      if (in == end) break;
    }
    const auto byte = static_cast<unsigned char>(*in++);
    if (missing_ > 0) {
      if (byte < least_ || byte > most_) return false;
      least_ = 0x80;
      most_ = 0xBF;
      --missing_;
    } else if (byte >= 0x80 && !TakeLead(byte)) {
      return false;
    }
  }
  return true;
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
