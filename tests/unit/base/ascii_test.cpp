#include "tavhost/base/ascii.h"

#include <gtest/gtest.h>

#include <cctype>

namespace {

// In the "C" locale, in which the tests run, the C library judges all bytes the same way.
TEST(Ascii, EveryByteIsWhatTheCLibrarySays) {
  for (int byte = 0; byte < 256; ++byte) {
    const char c = static_cast<char>(byte);
    EXPECT_EQ(ascii::IsDigit(c), std::isdigit(byte) != 0) << byte;
    EXPECT_EQ(ascii::IsLetter(c), std::isalpha(byte) != 0) << byte;
    EXPECT_EQ(ascii::IsLetterOrDigit(c), std::isalnum(byte) != 0) << byte;
    EXPECT_EQ(ascii::IsSpace(c), std::isspace(byte) != 0) << byte;
    EXPECT_EQ(ascii::ToLower(c), static_cast<char>(std::tolower(byte))) << byte;
    EXPECT_EQ(ascii::ToUpper(c), static_cast<char>(std::toupper(byte))) << byte;
    EXPECT_EQ(ascii::HexDigit(c) >= 0, std::isxdigit(byte) != 0) << byte;
  }
}

TEST(Ascii, WideUnitsAreNotCutToBytes) {
  EXPECT_TRUE(ascii::IsLetter(u'z'));
  EXPECT_FALSE(ascii::IsLetter(u'\u0141'));  // its low byte is an A
  EXPECT_FALSE(ascii::IsDigit(u'\u0130'));   // its low byte is a 0
}

TEST(Ascii, HexDigitsHaveTheirValue) {
  EXPECT_EQ(ascii::HexDigit('0'), 0);
  EXPECT_EQ(ascii::HexDigit('9'), 9);
  EXPECT_EQ(ascii::HexDigit('a'), 10);
  EXPECT_EQ(ascii::HexDigit('F'), 15);
}

TEST(Ascii, TextsWithoutCase) {
  EXPECT_EQ(ascii::ToLower("A_b-\xC3\x84"), "a_b-\xC3\x84");
  EXPECT_EQ(ascii::ToUpper("A_b-\xC3\xA4"), "A_B-\xC3\xA4");
  EXPECT_TRUE(ascii::EqualIgnoringCase("Content-Length", "content-lENGTH"));
  EXPECT_FALSE(ascii::EqualIgnoringCase("a", "ab"));
  EXPECT_FALSE(ascii::EqualIgnoringCase("[", "{"));
}

// Lists that people see are sorted by one or the other; each has always had its own.
TEST(Ascii, TheTwoOrdersDifferInWhatLiesBetweenTheCases) {
  EXPECT_LT(ascii::CompareInLowerCase("_", "a"), 0);
  EXPECT_LT(ascii::CompareInLowerCase("_", "A"), 0);
  EXPECT_GT(ascii::CompareInUpperCase("_", "a"), 0);
  EXPECT_GT(ascii::CompareInUpperCase("_", "A"), 0);
  for (const auto compare : {ascii::CompareInLowerCase, ascii::CompareInUpperCase}) {
    EXPECT_EQ(compare("aB", "Ab"), 0);
    EXPECT_EQ(compare("", ""), 0);
    EXPECT_LT(compare("a", "AB"), 0);
    EXPECT_GT(compare("B", "ab"), 0);
    EXPECT_GT(compare("\xC3", "z"), 0);
  }
}

}  // namespace
