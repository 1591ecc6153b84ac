#include "tavhost/ui/headless/progress_line.h"

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;
using ui::PercentageWindowModel;

TEST(ProgressLine, ShowsTheFirstStateAtOnceAndIsTakenAway) {
  std::vector<std::string> shown;
  ui::ProgressLine line([&shown](std::string_view text) { shown.emplace_back(text); });
  PercentageWindowModel model("Sorting", false, false);
  line.Close();
  EXPECT_TRUE(shown.empty()) << "nothing shows yet";
  line.Update(model);
  for (int i = 0; i < 1000; ++i) line.Update(model);
  EXPECT_LE(shown.size(), 2u) << "a terminal is not flooded";
  line.Close();
  EXPECT_EQ(shown.front(), "Sorting  [....................]   0%  0:00");
  EXPECT_EQ(shown.back(), "");
}

TEST(ProgressLine, HasBothBarsMessagesAndTimes) {
  PercentageWindowModel model("Sorting", true, true);
  const auto now = PercentageWindowModel::Clock::now();
  model.SetPercentage(25);
  model.message = "one\ntwo";
  model.SetPercentage2(100);
  model.message2 = "b";
  EXPECT_EQ(ui::ProgressText(model, now + 20s, 200),
            "Sorting  [#####...............]  25%  one two  [####################] 100%  b  "
            "0:20, 1:00 left");
}

TEST(ProgressLine, IsCutBetweenCharacters) {
  PercentageWindowModel model("\xC3\xA4\xC3\xB6\xC3\xBC", false, false);
  const auto now = PercentageWindowModel::Clock::now();
  EXPECT_EQ(ui::ProgressText(model, now, 2), "\xC3\xA4\xC3\xB6");
}

}  // namespace
