#include "tavhost/notation/scan.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>

#include "tavhost/base/ascii.h"

namespace kel {

namespace {

constexpr const char* kBadNumber = "malformed number";
constexpr const char* kIntegerRange =
    "integer out of range; integers lie between -2147483648 and 2147483647";
constexpr const char* kRealRange = "real out of range";
constexpr const char* kBadEscape =
    "unknown escape; expected one of \\\" \\\\ \\n \\r \\t \\0 \\xHH";
constexpr const char* kOpenString = "the string that begins here is not closed, expected \"\\\"\"";

const char* SkipDigits(const char* at, const char* end) {
  while (at != end && IsDigit(*at)) ++at;
  return at;
}

constexpr std::uint32_t kMaxInteger = std::numeric_limits<std::int32_t>::max();

// Integers up to here and these powers of ten are doubles without rounding.
constexpr std::uint64_t kExactIntegers = std::uint64_t{1} << 53;
constexpr double kPowersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                   1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                   1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
constexpr std::ptrdiff_t kExactPowers = 22;

// Digits read as a number, which stops at the largest there is instead of wrapping around.
struct Digits {
  static constexpr std::uint64_t kLargest = std::numeric_limits<std::uint64_t>::max();
  static constexpr std::ptrdiff_t kAlwaysFit = 19;

  std::uint64_t value = 0;
  std::ptrdiff_t room = kAlwaysFit;  // digits that can follow without a look at the range

  const char* Read(const char* at, const char* end) {
    const char* const begin = at;
    const char* const checkFrom = end - at > room ? at + room : end;
    while (at != checkFrom && IsDigit(*at)) value = value * 10 + DigitOf(*at++);
    for (; at != end && IsDigit(*at); ++at) {
      value = value > (kLargest - 9) / 10 ? kLargest : value * 10 + DigitOf(*at);
    }
    room -= std::min(at - begin, room);
    return at;
  }

  static std::uint64_t DigitOf(char digit) { return static_cast<std::uint64_t>(digit - '0'); }
};

// Whether a real that no double can hold is too large, which is an error, or too small, which reads
// as 0. The power of ten of its first digit that is not 0 decides.
bool IsTooLarge(const char* at, const char* end) {
  long long magnitude = 0;  // of the first digit that is not 0, as a power of ten
  bool sawDigit = false;
  bool behindPoint = false;
  long long exponent = 0;
  for (; at != end; ++at) {
    if (*at == '.') {
      behindPoint = true;
    } else if (*at == 'e' || *at == 'E') {
      const bool negative = at[1] == '-';
      for (++at; at != end; ++at) {
        if (IsDigit(*at) && exponent < 1'000'000'000'000) exponent = exponent * 10 + (*at - '0');
      }
      if (negative) exponent = -exponent;
      break;
    } else if (IsDigit(*at)) {
      sawDigit = sawDigit || *at != '0';
      if (behindPoint && !sawDigit) --magnitude;
      if (!behindPoint && sawDigit) ++magnitude;
    }
  }
  return magnitude + exponent > 0;
}

}  // namespace

const char* ScanNameBytewise(const char* at, const char* end) noexcept {
  while (at != end) {
    if (!IsNameByte(*at) && !(*at == '-' && at + 1 != end && IsNameByte(at[1]))) break;
    ++at;
  }
  return at;
}

bool IsName(std::string_view text) noexcept {
  const char* const end = text.data() + text.size();
  return !text.empty() && IsNameStart(text.front()) && ScanName(text.data(), end) == end;
}

ScannedNumber ScanNumber(const char* at, const char* end) noexcept {
  ScannedNumber number{at};
  const char* const begin = at;
  const bool negative = at != end && *at == '-';
  if (negative) ++at;
  const char* const digits = at;
  Digits mantissa;
  at = mantissa.Read(at, end);
  if (at == digits) {
    number.error = kBadNumber;
    return number;
  }
  std::ptrdiff_t fractionDigits = 0;
  if (at != end && *at == '.') {
    const char* const fraction = at + 1;
    at = mantissa.Read(fraction, end);
    fractionDigits = at - fraction;
    if (fractionDigits == 0) {
      number.error = kBadNumber;
      return number;
    }
    number.isReal = true;
  }
  const char* const mantissaEnd = at;
  if (at != end && (*at == 'e' || *at == 'E')) {
    ++at;
    if (at != end && (*at == '+' || *at == '-')) ++at;
    const char* const exponent = at;
    at = SkipDigits(at, end);
    if (at == exponent) {
      number.error = kBadNumber;
      return number;
    }
    number.isReal = true;
  }
  number.end = at;
  if (at != end && (IsNameByte(*at) || *at == '.')) {
    number.error = kBadNumber;
    return number;
  }
  if (!number.isReal) {
    const std::uint64_t most = std::uint64_t{kMaxInteger} + negative;
    if (mantissa.value > most) {
      number.error = kIntegerRange;
      return number;
    }
    const auto value = static_cast<std::int64_t>(mantissa.value);
    number.integer = static_cast<std::int32_t>(negative ? -value : value);
    return number;
  }
  // Both numbers are exact as doubles, so that the quotient is rounded once: the nearest double.
  if (at == mantissaEnd && mantissa.value <= kExactIntegers && fractionDigits <= kExactPowers) {
    const double magnitude = static_cast<double>(mantissa.value) / kPowersOfTen[fractionDigits];
    number.real = negative ? -magnitude : magnitude;
    return number;
  }
  if (std::from_chars(begin, at, number.real).ec == std::errc::result_out_of_range) {
    number.real = negative ? -0.0 : 0.0;
    if (IsTooLarge(digits, at)) number.error = kRealRange;
  }
  return number;
}

ScannedString ScanString(const char* at, const char* end) noexcept {
  ScannedString string{at};
  const char* const quote = at++;
  while (true) {
    while (end - at >= static_cast<std::ptrdiff_t>(ByteBlock::kWidth)) {
      const std::uint32_t found = ByteBlock(at).EitherOf('"', '\\');
      if (found != 0) {
        at += std::countr_zero(found);
        break;
      }
      at += ByteBlock::kWidth;
    }
    while (at != end && *at != '"' && *at != '\\') ++at;
    if (at == end) {
      string.end = quote;
      string.error = kOpenString;
      return string;
    }
    if (*at == '"') {
      string.end = at + 1;
      return string;
    }
    string.isEscaped = true;
    const char escape = end - at > 1 ? at[1] : 'q';  // at the end: any byte that is no escape
    const bool isHex =
        escape == 'x' && end - at > 3 && ascii::HexDigit(at[2]) >= 0 && ascii::HexDigit(at[3]) >= 0;
    if (!isHex && (escape == '\0' || !std::strchr("\"\\nrt0", escape))) {
      string.end = at;
      string.error = kBadEscape;
      return string;
    }
    at += isHex ? 4 : 2;
  }
}

std::size_t Unescape(std::string_view escaped, char* out) noexcept {
  char* const begin = out;
  const char* at = escaped.data();
  const char* const end = at + escaped.size();
  while (at != end) {
    const auto* backslash =
        static_cast<const char*>(std::memchr(at, '\\', static_cast<std::size_t>(end - at)));
    const auto plain = static_cast<std::size_t>((backslash ? backslash : end) - at);
    std::memcpy(out, at, plain);
    out += plain;
    if (!backslash) break;
    at = backslash + 2;
    switch (backslash[1]) {
      case 'n':
        *out++ = '\n';
        break;
      case 'r':
        *out++ = '\r';
        break;
      case 't':
        *out++ = '\t';
        break;
      case '0':
        *out++ = '\0';
        break;
      case 'x':
        *out++ = static_cast<char>(ascii::HexDigit(at[0]) * 16 + ascii::HexDigit(at[1]));
        at += 2;
        break;
      default:
        *out++ = backslash[1];
        break;
    }
  }
  return static_cast<std::size_t>(out - begin);
}

SV::String Unescape(std::string_view escaped) {
  std::size_t length = 0;  // exact, so that the string holds no unused bytes
  for (std::size_t i = 0; i < escaped.size(); ++length) {
    i += escaped[i] != '\\' ? 1 : escaped[i + 1] == 'x' ? 4 : 2;
  }
  SV::String text;
  Unescape(escaped, text.AllocBuffer(static_cast<long>(length)));
  return text;
}

}  // namespace kel
