#include "tavhost/base/utf8.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using utf8::PieceOf;

TEST(Utf8, PiecesEndWhereCharactersEnd) {
  const std::string text = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z";
  EXPECT_EQ(PieceOf(text, 1), "a");
  EXPECT_EQ(PieceOf(text, 2), "a\xC3\xA9");
  EXPECT_EQ(PieceOf(text, 4), "a\xC3\xA9\xE2\x82\xAC");
  for (std::size_t bytes = 7; bytes <= 10; ++bytes) EXPECT_EQ(PieceOf(text, bytes).size(), 10u);
  EXPECT_EQ(PieceOf(text, 100), text);
  EXPECT_EQ(PieceOf("", 5), "");
  EXPECT_EQ(PieceOf(std::string(10, '\x80'), 2).size(), 5u) << "no character is as long as that";
}

}  // namespace
