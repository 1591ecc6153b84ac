#pragma once

#include <algorithm>
#include <string>
#include <string_view>

// What letters and digits are, and letters without case: ASCII alone, whatever the locale is. All
// other bytes stand for themselves. `letter_case.h` knows the letters of all languages.
namespace ascii {

template <typename Char>
constexpr bool IsDigit(Char c) {
  return c >= '0' && c <= '9';
}

template <typename Char>
constexpr bool IsLetter(Char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

template <typename Char>
constexpr bool IsLetterOrDigit(Char c) {
  return IsLetter(c) || IsDigit(c);
}

constexpr bool IsSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

constexpr char ToLower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

constexpr char ToUpper(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - ('a' - 'A')) : c;
}

// The value of a hexadecimal digit, -1 for all else.
constexpr int HexDigit(char c) {
  if (IsDigit(c)) return c - '0';
  const char lower = ToLower(c);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

inline std::string ToLower(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) c = ToLower(c);
  return lower;
}

inline std::string ToUpper(std::string_view text) {
  std::string upper(text);
  for (char& c : upper) c = ToUpper(c);
  return upper;
}

constexpr bool EqualIgnoringCase(char a, char b) { return ToLower(a) == ToLower(b); }

constexpr bool EqualIgnoringCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(),
                                            [](char x, char y) { return EqualIgnoringCase(x, y); });
}

// Below 0, 0 or above, as the bytes of the two texts in lower or in upper case stand to each
// other. The two orders differ: `_` and its neighbours stand before all letters in lower case and
// behind them in upper case.
constexpr int CompareInLowerCase(std::string_view a, std::string_view b) {
  const std::size_t common = std::min(a.size(), b.size());
  for (std::size_t i = 0; i < common; ++i) {
    const int difference =
        static_cast<unsigned char>(ToLower(a[i])) - static_cast<unsigned char>(ToLower(b[i]));
    if (difference != 0) return difference;
  }
  return a.size() < b.size() ? -1 : a.size() > b.size();
}

constexpr int CompareInUpperCase(std::string_view a, std::string_view b) {
  const std::size_t common = std::min(a.size(), b.size());
  for (std::size_t i = 0; i < common; ++i) {
    const int difference =
        static_cast<unsigned char>(ToUpper(a[i])) - static_cast<unsigned char>(ToUpper(b[i]));
    if (difference != 0) return difference;
  }
  return a.size() < b.size() ? -1 : a.size() > b.size();
}

}  // namespace ascii
