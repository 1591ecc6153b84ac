#pragma once

#include <bit>
#include <cstdint>
#include <string_view>

#include "host/base/string.h"
#include "tavhost/notation/byte_block.h"

// The words, numbers and strings of KEL; the script language writes its own the same way.
namespace kel {

// One nesting limit for lists, records, bodies, expressions and blocks together: deep enough for
// any text that a person or program means, and a clear error for what runs away.
inline constexpr std::uint32_t kMaxNesting = 1000;

// What a byte can be part of.
enum ByteClass : std::uint8_t {
  kNameStart = 1,  // ASCII letters and `_`
  kDigit = 2,
  kBlank = 4,      // blank, tab
  kBlankLike = 8,  // those, and what may begin something that counts as one
};
// The classes of every byte, worked out when the program is compiled.
struct ByteClassTable {
  std::uint8_t classes[256] = {};

  constexpr ByteClassTable() {
    for (int c = 'a'; c <= 'z'; ++c) classes[c] = classes[c - 'a' + 'A'] = kNameStart;
    classes[static_cast<int>('_')] = kNameStart;
    for (int c = '0'; c <= '9'; ++c) classes[c] = kDigit;
    classes[static_cast<int>(' ')] = classes[static_cast<int>('\t')] = kBlank | kBlankLike;
    for (const char c : {'\r', '#', '\\'}) classes[static_cast<unsigned char>(c)] = kBlankLike;
  }
};
inline constexpr ByteClassTable kByteClassTable;

inline std::uint8_t ClassOf(char byte) {
  return kByteClassTable.classes[static_cast<unsigned char>(byte)];
}

inline bool IsNameStart(char byte) { return ClassOf(byte) & kNameStart; }
inline bool IsDigit(char byte) { return static_cast<unsigned char>(byte - '0') < 10; }
inline bool IsBlank(char byte) { return ClassOf(byte) & kBlank; }
inline bool IsBlankLike(char byte) { return ClassOf(byte) & kBlankLike; }
// Letters, digits and `_`; a `-` also belongs to a name when one of these follows it.
inline bool IsNameByte(char byte) { return ClassOf(byte) & (kNameStart | kDigit); }

// The place behind a name of which some bytes have been seen already, byte by byte.
const char* ScanNameBytewise(const char* at, const char* end) noexcept;

// The place behind the name that begins at `at`, or `at` when none does.
inline const char* ScanName(const char* at, const char* end) noexcept {
  if (at == end || !IsNameStart(*at)) return at;
  while (end - at > static_cast<std::ptrdiff_t>(ByteBlock::kWidth)) {
    // One byte more than a block is there, so that a `-` at its end can be judged.
    const ByteBlock block(at);
    const std::uint32_t names = block.NameBytes();
    const std::uint32_t next = (names >> 1) | std::uint32_t{IsNameByte(at[ByteBlock::kWidth])}
                                                  << (ByteBlock::kWidth - 1);
    const std::uint32_t inName = names | (block.Equal('-') & next);
    const int length = std::countr_one(inName);
    at += length;
    if (length < static_cast<int>(ByteBlock::kWidth)) return at;
  }
  return ScanNameBytewise(at, end);
}

// The whole text is one name.
bool IsName(std::string_view text) noexcept;

// What ScanNumber found: an integer or a real, and where it ends.
struct ScannedNumber {
  const char* end;              // behind the number
  const char* error = nullptr;  // what is wrong with it, null when all is well
  bool isReal = false;
  std::int32_t integer = 0;
  double real = 0;
};

// A number that begins at `at`, with a digit or `-`. A number that a letter, digit, `_` or `.`
// follows at once is wrong.
ScannedNumber ScanNumber(const char* at, const char* end) noexcept;

// What ScanString found. The text lies between the quotes and is not unescaped yet.
struct ScannedString {
  const char* end;              // behind the closing quote, or the place of the error
  const char* error = nullptr;  // null when all is well
  bool isEscaped = false;       // there is an escape between the quotes
};

// A string whose opening quote is at `at`.
ScannedString ScanString(const char* at, const char* end) noexcept;

// The bytes that the text between the quotes of a scanned string stands for. `out` has room for
// as many bytes as the text; returns how many were written.
std::size_t Unescape(std::string_view escaped, char* out) noexcept;
SV::String Unescape(std::string_view escaped);

}  // namespace kel
