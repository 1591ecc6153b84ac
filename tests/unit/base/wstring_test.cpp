#include "host/base/wstring.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using SV::ConvertUTF8StringToWString;
using SV::ConvertWStringToUTF8String;
using SV::String;
using SV::WString;

std::u16string Wide(std::string_view utf8) {
  return std::u16string(
      ConvertUTF8StringToWString(String(utf8.data(), static_cast<long>(utf8.size()))).View());
}

std::string Narrow(std::u16string_view units) {
  return std::string(
      ConvertWStringToUTF8String(WString(units.data(), static_cast<long>(units.size()))).View());
}

TEST(WString, Construction) {
  EXPECT_EQ(WString().Len(), 0);
  EXPECT_EQ(WString(static_cast<const char16_t*>(nullptr)).Len(), 0);
  EXPECT_EQ(WString(u"GET").Len(), 3);
  EXPECT_EQ(WString(u"a\0b", 3).Len(), 3);
  EXPECT_EQ(WString(u"abc", 2).View(), u"ab");
  EXPECT_EQ(WString(nullptr, 0).Len(), 0);
  EXPECT_EQ(WString(u"abc", -1).Len(), 0);
  EXPECT_EQ(WString(u"a").GetStr()[1], u'\0');
  EXPECT_TRUE(WString(u"a") == WString(u"a"));
  EXPECT_FALSE(WString(u"a") == WString(u"b"));
}

TEST(WString, EveryCharacterThereAndBack) {
  for (char32_t code = 0; code <= 0x10FFFF; code += code < 0x11000 ? 1 : 97) {
    if (code >= 0xD800 && code < 0xE000) continue;
    std::u16string units;
    if (code < 0x10000) {
      units += static_cast<char16_t>(code);
    } else {
      units += static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10));
      units += static_cast<char16_t>(0xDC00 + ((code - 0x10000) & 0x3FF));
    }
    ASSERT_EQ(Wide(Narrow(units)), units) << static_cast<unsigned>(code);
  }
}

TEST(WString, KnownCharacters) {
  EXPECT_EQ(Wide("a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"), u"a\u00E4\u20AC\U0001F600");
  EXPECT_EQ(Narrow(u"a\u00E4\u20AC\U0001F600"), "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80");
  EXPECT_EQ(Wide(std::string_view("a\0b", 3)), std::u16string(u"a\0b", 3));
  EXPECT_EQ(Narrow(std::u16string_view(u"a\0b", 3)), std::string("a\0b", 3));
  EXPECT_EQ(Wide("\xEF\xBF\xBF\xEF\xB7\x90"), u"\uFFFF\uFDD0") << "noncharacters are characters";
  EXPECT_EQ(Wide(""), u"");
  EXPECT_EQ(Narrow(u""), "");
}

TEST(WString, LoneSurrogatesAreReplaced) {
  const std::string replacement = "\xEF\xBF\xBD";
  const char16_t high = 0xD83D;
  const char16_t low = 0xDE00;
  EXPECT_EQ(Narrow(std::u16string{high}), replacement);
  EXPECT_EQ(Narrow(std::u16string{low}), replacement);
  EXPECT_EQ(Narrow(std::u16string{low, high}), replacement + replacement);
  EXPECT_EQ(Narrow(std::u16string{high, u'a'}), replacement + "a");
  EXPECT_EQ(Narrow(std::u16string{high, high, low}), replacement + "\xF0\x9F\x98\x80");
}

TEST(WString, InvalidBytesAreReplaced) {
  EXPECT_EQ(Wide("a\xFF"
                 "b"),
            u"a\uFFFDb");
  EXPECT_EQ(Wide("\x80"), u"\uFFFD");
  EXPECT_EQ(Wide("\xC3"), u"\uFFFD") << "cut off";
  EXPECT_EQ(Wide("\xC3("), u"\uFFFD(");
  EXPECT_EQ(Wide("\xE2\x82"), u"\uFFFD");
  EXPECT_EQ(Wide("\xE2\x82(x"), u"\uFFFD(x");
  EXPECT_EQ(Wide("\xF0\x9F\x98"), u"\uFFFD");
  EXPECT_EQ(Wide("\xF0\x9F\x98x"), u"\uFFFDx");
  for (const char* bytes : {"\xC0\xAF", "\xE0\x80\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80",
                            "\xF8\x88\x80\x80\x80", "\xFE"}) {
    const std::u16string wide = Wide(std::string("a") + bytes + "b");
    EXPECT_EQ(wide.front(), u'a') << bytes;
    EXPECT_EQ(wide.back(), u'b') << bytes;
    ASSERT_GT(wide.size(), 2u) << bytes;
    for (std::size_t i = 1; i + 1 < wide.size(); ++i) EXPECT_EQ(wide[i], u'\uFFFD') << bytes;
  }
}

// Whatever the bytes, the result is well-formed and the good part in front of a fault is kept.
TEST(WString, AnyTwoBytesGiveWellFormedText) {
  for (int first = 0; first < 256; ++first) {
    for (int second = 0; second < 256; ++second) {
      const char bytes[] = {'x', static_cast<char>(first), static_cast<char>(second), 'y'};
      const std::u16string wide = Wide({bytes, 4});
      ASSERT_EQ(wide.front(), u'x');
      ASSERT_EQ(wide.back(), u'y') << first << " " << second;
      ASSERT_EQ(Wide(Narrow(wide)), wide);
    }
  }
}

TEST(WString, TextOfUtf8IsConvertedWhenItsUnitsAreAskedFor) {
  const String text("gr\xC3\xBC\xC3\x9F \xF0\x9F\x98\x80");
  const WString wide = WString::OfUtf8(text);
  EXPECT_EQ(ConvertWStringToUTF8String(wide).GetStr(), text.GetStr());
  const WString copy = wide;
  EXPECT_EQ(wide.View(), u"gr\u00FC\u00DF \U0001F600");
  EXPECT_EQ(wide.Len(), 7);
  EXPECT_TRUE(wide == copy);
  EXPECT_EQ(ConvertWStringToUTF8String(wide), text);
  EXPECT_EQ(WString::OfUtf8(String()).Len(), 0);
}

}  // namespace
