#include "tavhost/base/wide_text_windows.h"

#include <gtest/gtest.h>
#include <windows.h>

namespace {

std::string NarrowedBySystem(const std::wstring& wide) {
  char bytes[64];
  const int length = WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()),
                                         bytes, sizeof bytes, nullptr, nullptr);
  return std::string(bytes, static_cast<std::size_t>(length));
}

std::wstring WidenedBySystem(const std::string& utf8) {
  wchar_t units[64];
  const int length =
      MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), units, 64);
  return std::wstring(units, static_cast<std::size_t>(length));
}

TEST(WideText, IsWhatTheSystemMakesOfIt) {
  for (const char* text : {"", "a", "gr\xC3\xBCn", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", "a\xFFz"}) {
    EXPECT_EQ(base::Wide(text), WidenedBySystem(text)) << text;
  }
  const std::wstring high(1, wchar_t{0xD83D});
  const std::wstring low(1, wchar_t{0xDE00});
  for (const std::wstring& wide : {std::wstring(), std::wstring(L"\u00E4\u20AC"), high + low}) {
    EXPECT_EQ(base::Narrow(wide), NarrowedBySystem(wide));
  }
  for (const std::wstring& wide : {high, low, high + L"a", low + high}) {
    EXPECT_EQ(base::Narrow(wide), NarrowedBySystem(wide)) << "surrogates without partners";
  }
}

}  // namespace
