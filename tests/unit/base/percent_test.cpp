#include "tavhost/base/percent.h"

#include <gtest/gtest.h>

using base::PercentDecoded;

TEST(Percent, CodesAreBytes) {
  EXPECT_EQ(PercentDecoded("a%20b%C3%bc"), "a b\xC3\xBC");
  EXPECT_EQ(PercentDecoded("%2541"), "%41");  // once
  EXPECT_EQ(PercentDecoded("%00"), std::string(1, '\0'));
}

TEST(Percent, OtherPercentSignsStay) {
  EXPECT_EQ(PercentDecoded(""), "");
  EXPECT_EQ(PercentDecoded("%"), "%");
  EXPECT_EQ(PercentDecoded("100%2"), "100%2");
  EXPECT_EQ(PercentDecoded("%%41%g1%1g"), "%A%g1%1g");
}
