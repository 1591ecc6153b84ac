#include "tavhost/headless/progress_line.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

using namespace std::chrono_literals;
using ui::PercentageWindowModel;

TEST(ProgressLine, ShowsTheFirstStateAtOnceAndIsTakenAway) {
  std::vector<std::string> shown;
  PercentageWindowModel model("Sorting", false, false);
  ui::ProgressLine line(model, [&shown](std::string_view text) { shown.emplace_back(text); });
  line.Close();
  EXPECT_TRUE(shown.empty()) << "nothing shows yet";
  line.Update();
  for (int i = 0; i < 1000; ++i) line.Update();
  EXPECT_LE(shown.size(), 3u) << "a terminal is not flooded";
  model.SetPercentage(50);
  line.Update();
  const std::size_t first = shown.size();
  const auto limit = std::chrono::steady_clock::now() + 30s;
  while (shown.size() == first && std::chrono::steady_clock::now() < limit) line.Refresh();
  EXPECT_EQ(shown.back(), "Sorting  [##########..........]  50%  0:00");
  const std::size_t before = shown.size();
  std::this_thread::sleep_for(150ms);  // by then a change would show
  line.Refresh();
  EXPECT_EQ(shown.size(), before) << "nothing has changed";
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
