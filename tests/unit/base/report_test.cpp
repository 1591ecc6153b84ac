#include "tavhost/base/report.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

// What reaches standard error, line feeds as they were written on every platform.
std::string Reported(const std::function<void()>& act) {
  testing::internal::CaptureStderr();
  act();
  std::string text = testing::internal::GetCapturedStderr();
  std::erase(text, '\r');
  return text;
}

TEST(Report, EndsEveryMessageWithOneLineFeed) {
  EXPECT_EQ(Reported([] { report::Line("one"); }), "one\n");
  EXPECT_EQ(Reported([] { report::Line("one\n"); }), "one\n");
  EXPECT_EQ(Reported([] { report::Line("one\ntwo"); }), "one\ntwo\n");
  EXPECT_EQ(Reported([] { report::Line("one\n\n"); }), "one\n\n");
  EXPECT_EQ(Reported([] { report::Line(""); }), "\n");
}

TEST(Report, LeavesAPromptWithoutItsEnd) {
  EXPECT_EQ(Reported([] {
              report::Text("answer: ");
              report::Text("");
              report::Text("\n");
            }),
            "answer: \n");
}

TEST(Report, WritesEveryByteOfALongLine) {
  const std::string line = std::string(1'000'000, 'x') + '\0' + std::string(1'000'000, 'y');
  EXPECT_EQ(Reported([&] { report::Line(line); }), line + '\n');
}

TEST(Report, KeepsTheLinesOfThreadsWhole) {
  constexpr int kThreads = 8;
  constexpr int kLines = 500;
  const std::string tail(300, 'x');
  std::istringstream lines(Reported([&] {
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
      threads.emplace_back([thread, &tail] {
        const std::string line = std::to_string(thread) + ' ' + tail;
        for (int i = 0; i < kLines; ++i) report::Line(line);
      });
    }
    for (std::thread& thread : threads) thread.join();
  }));
  std::map<std::string, int> counts;
  for (std::string line; std::getline(lines, line);) ++counts[line];
  std::map<std::string, int> expected;
  for (int thread = 0; thread < kThreads; ++thread) {
    expected[std::to_string(thread) + ' ' + tail] = kLines;
  }
  EXPECT_EQ(counts, expected);
}

TEST(Report, KeepsErrno) {
  Reported([] {
    errno = ERANGE;
    report::Line("a");
    report::Text("b");
    report::ShowStatus("c");
    report::TakeStatusAway();
    EXPECT_EQ(errno, ERANGE);
  });
}

class ReportStatus : public testing::Test {
 protected:
  // The carriage returns of a status line are part of it.
  static std::string Shown(const std::function<void()>& act) {
    testing::internal::CaptureStderr();
    act();
    report::TakeStatusAway();
    return testing::internal::GetCapturedStderr();
  }
};

TEST_F(ReportStatus, GivesWayToTheNext) {
  EXPECT_EQ(Shown([] {
              report::ShowStatus("100%");
              report::ShowStatus("5%");
            }),
            "100%\r    \r5%\r  \r");
}

TEST_F(ReportStatus, IsAsWideAsItsCharacters) {
  EXPECT_EQ(Shown([] { report::ShowStatus("\xC3\xA4\xE2\x82\xAC"); }),
            "\xC3\xA4\xE2\x82\xAC\r  \r");
}

TEST_F(ReportStatus, IsTakenAwayOnce) {
  EXPECT_EQ(Shown([] {
              report::ShowStatus("50%");
              report::ShowStatus("");
              report::TakeStatusAway();
            }),
            "50%\r   \r");
}

TEST_F(ReportStatus, IsNotThereUnlessShown) {
  EXPECT_EQ(Shown([] { report::TakeStatusAway(); }), "");
}

TEST_F(ReportStatus, GivesWayToAPrompt) {
  EXPECT_EQ(Shown([] {
              report::ShowStatus("50%");
              report::Text("answer: ");
            }),
            "50%\r   \ranswer: ");
}

}  // namespace
