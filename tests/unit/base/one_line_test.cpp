#include "tavhost/base/one_line.h"

#include <gtest/gtest.h>

namespace {

TEST(OneLine, IsCutBetweenCharacters) {
  EXPECT_EQ(base::OneLine("abc", 3), "abc");
  EXPECT_EQ(base::OneLine("abcd", 3), "abc");
  EXPECT_EQ(base::OneLine("\xC3\xA4\xC3\xB6\xC3\xBC", 2), "\xC3\xA4\xC3\xB6");
  EXPECT_EQ(base::OneLine("", 3), "");
}

TEST(OneLine, HasNoControlCharacters) {
  EXPECT_EQ(base::OneLine("a\nb\tc\x1B[2J\x7F", 20), "a b c [2J ");
}

}  // namespace
