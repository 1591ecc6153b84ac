#include "tavhost/base/utf16.h"

#include <gtest/gtest.h>

namespace {

TEST(Utf16, WellFormedTextGoesThereAndBack) {
  const std::string bytes = "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80";
  EXPECT_EQ(utf16::FromUtf8(bytes), u"a\u00E4\u20AC\U0001F600");
  EXPECT_EQ(utf16::ToUtf8(u"a\u00E4\u20AC\U0001F600"), bytes);
  EXPECT_EQ(utf16::FromUtf8({"a\0b", 3}), std::u16string(u"a\0b", 3));
  EXPECT_EQ(utf16::ToUtf8({u"a\0b", 3}), std::string("a\0b", 3));
  EXPECT_EQ(utf16::FromUtf8(""), u"");
  EXPECT_EQ(utf16::ToUtf8(u""), "");
}

TEST(Utf16, WhatIsIllFormedIsReplaced) {
  EXPECT_EQ(utf16::FromUtf8("a\xFFz"), u"a\uFFFDz");
  EXPECT_EQ(utf16::FromUtf8("\xE2\x82(x"), u"\uFFFD(x") << "one for a character cut off";
  EXPECT_EQ(utf16::ToUtf8(std::u16string{char16_t{0xD83D}, u'a'}),
            "\xEF\xBF\xBD"
            "a");
  EXPECT_EQ(utf16::ToUtf8(std::u16string{char16_t{0xDE00}, char16_t{0xD83D}}),
            "\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(Utf16, WellFormedTextIsNotCopied) {
  std::string room;
  const std::string_view good = "gr\xC3\xBCn";
  EXPECT_EQ(utf16::WellFormed(good, room).data(), good.data());
  EXPECT_EQ(utf16::WellFormed("gr\xFCn", room), "gr\xEF\xBF\xBDn");
  EXPECT_EQ(utf16::WellFormed("\x80", room), "\xEF\xBF\xBD") << "the room is used again";
}

}  // namespace
