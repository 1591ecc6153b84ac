#include "tavhost/service/seldom.h"

#include <gtest/gtest.h>

namespace {

using script::service::Seldom;
using namespace std::chrono_literals;

TEST(Seldom, TellsAtFirstThenOnceAMinuteHowOften) {
  Seldom seldom;
  const Seldom::Clock::time_point begin(1h);
  EXPECT_EQ(seldom.Happened(begin), 1U);
  EXPECT_EQ(seldom.Happened(begin + 1s), std::nullopt);
  EXPECT_EQ(seldom.Happened(begin + 59s), std::nullopt);
  EXPECT_EQ(seldom.Happened(begin + 60s), 3U);
  EXPECT_EQ(seldom.Happened(begin + 119s), std::nullopt);
  EXPECT_EQ(seldom.Happened(begin + 1h), 2U);
}

}  // namespace
