#include "tavhost/ui/models/percentage_window_model.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using ui::PercentageWindowModel;
using namespace std::chrono_literals;

TEST(PercentageWindowModel, BarsStayWithinTheirEnds) {
  PercentageWindowModel model("t", false, true);
  model.SetPercentage(12.5);
  EXPECT_EQ(model.Percentage(), 12.5);
  model.SetPercentage(-1);
  EXPECT_EQ(model.Percentage(), 0);
  model.SetPercentage(1e9);
  EXPECT_EQ(model.Percentage(), 100);
  model.SetPercentage2(std::numeric_limits<double>::quiet_NaN());
  EXPECT_EQ(model.Percentage2(), 0);
}

TEST(PercentageWindowModel, CancelNeedsItsButton) {
  PercentageWindowModel without("t", false, false);
  without.Cancel();
  EXPECT_FALSE(without.Poll());
  PercentageWindowModel with("t", true, false);
  EXPECT_FALSE(with.Poll());
  with.Cancel();
  EXPECT_TRUE(with.Poll());
  EXPECT_TRUE(with.Poll());
}

TEST(PercentageWindowModel, ReadsAsCancelledFromAPollOn) {
  PercentageWindowModel model("t", true, false);
  model.CancelFrom(3);
  EXPECT_FALSE(model.Poll());
  EXPECT_FALSE(model.Poll());
  EXPECT_TRUE(model.Poll());
  EXPECT_TRUE(model.Poll());
  EXPECT_EQ(model.Polls(), 4);
}

TEST(PercentageWindowModel, TheRestIsToldByThePaceSoFar) {
  PercentageWindowModel model("t", false, false);
  const auto now = PercentageWindowModel::Clock::now();
  EXPECT_EQ(model.Elapsed(now + 61s), 61s);
  EXPECT_FALSE(model.Remaining(now + 10s)) << "nothing done yet";
  model.SetPercentage(25);
  EXPECT_FALSE(model.Remaining(now)) << "too early to tell";
  EXPECT_EQ(model.Remaining(now + 20s), 60s);
  model.SetPercentage(100);
  EXPECT_EQ(model.Remaining(now + 20s), 0s);
  model.SetPercentage(1e-9);
  EXPECT_FALSE(model.Remaining(now + 20s)) << "beyond belief";
}

TEST(PercentageWindowModel, TimesReadWell) {
  EXPECT_EQ(ui::TimeText(7s), "0:07");
  EXPECT_EQ(ui::TimeText(754s), "12:34");
  EXPECT_EQ(ui::TimeText(3599s), "59:59");
  EXPECT_EQ(ui::TimeText(3723s), "1:02:03");
  EXPECT_EQ(ui::TimeText(-5s), "0:00");
}

}  // namespace
