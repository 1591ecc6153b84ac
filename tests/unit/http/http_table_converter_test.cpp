#include "tavhost/http/http_table_converter.h"

#include <gtest/gtest.h>

#include <string>

#include "tavhost/http/http_converter.h"

namespace {

constexpr std::uint64_t kLong = std::uint64_t{1} << 30;

std::string Text(http::Converter& converter, const std::string& bytes) {
  std::string text(converter.RoomFor(bytes.size()) + converter.RoomFor(0), '\0');
  char* end = converter.Append(bytes, text.data());
  end = converter.Finish(end);
  text.resize(static_cast<std::size_t>(end - text.data()));
  return text;
}

// Long texts go by a table, short ones do not: they say the same of every pair of bytes.
TEST(TableConverter, LongAndShortTextsAreReadAlike) {
  for (const char* charset :
       {"shift_jis", "gbk", "euc-kr", "big5", "euc-jp", "gb18030", "koi8-r", "windows-1251",
        "iso-8859-15", "iso-2022-jp", "utf-7", "windows-1255"}) {
    for (int first = 0; first < 256; ++first) {
      std::string bytes;
      for (int second = 0; second < 256; ++second) {
        bytes += {static_cast<char>(first), static_cast<char>(second), 'x'};
      }
      const auto slow = http::MakeSystemConverter(charset, 0);
      const auto fast = http::MakeSystemConverter(charset, kLong);
      if (!slow) break;  // not on this system
      ASSERT_EQ(Text(*fast, bytes), Text(*slow, bytes)) << charset << ' ' << first;
    }
  }
}

TEST(TableConverter, NamesAreNames) {
  EXPECT_EQ(http::MakeSystemConverter("koi8-r//translit", 0), nullptr);
  EXPECT_EQ(http::MakeSystemConverter("", 0), nullptr);
  EXPECT_EQ(http::MakeSystemConverter("no-such-set", kLong), nullptr);
}

}  // namespace
