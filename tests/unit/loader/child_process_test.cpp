#include "tavhost/loader/child_process.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

namespace {

using loader::ChildOutcome;
using loader::RunChild;

// What children run: tests of this program that do something only when they alone are asked for.
bool IsChild() { return GTEST_FLAG_GET(filter).starts_with("ChildSubject."); }

TEST(ChildSubject, Crashes) {
  if (!IsChild()) return;
  loader::CrashQuietly();
  std::signal(SIGSEGV, SIG_DFL);  // a sanitizer would exit for it
  const int* volatile nowhere = nullptr;
  std::exit(*nowhere);
}

TEST(ChildSubject, Hangs) {
  if (IsChild()) std::this_thread::sleep_for(std::chrono::hours(1));  // ended for it
}

TEST(ChildSubject, Exits) {
  if (IsChild()) std::exit(7);
}

TEST(ChildSubject, WritesMuch) {
  if (!IsChild()) return;
  const std::string line(1000, 'x');
  for (int i = 0; i < 1000; ++i) std::puts(line.c_str());
  std::fputs("on standard error\n", stderr);
  std::fflush(stdout);
  std::_Exit(0);
}

TEST(ChildSubject, HasNoInput) {
  if (IsChild()) std::_Exit(std::getchar() == EOF ? 0 : 1);
}

ChildOutcome RunSubject(const std::string& subject,
                        std::chrono::milliseconds limit = std::chrono::seconds(20)) {
  return RunChild({"--gtest_brief=1", "--gtest_filter=ChildSubject." + subject}, limit);
}

TEST(ChildProcess, ThatCrashesIsAResult) {
  const ChildOutcome outcome = RunSubject("Crashes");
  EXPECT_EQ(outcome.end, ChildOutcome::End::kCrashed);
  EXPECT_FALSE(outcome.reason.empty());
}

TEST(ChildProcess, ThatHangsIsEnded) {
  const auto start = std::chrono::steady_clock::now();
  const ChildOutcome outcome = RunSubject("Hangs", std::chrono::milliseconds(300));
  EXPECT_EQ(outcome.end, ChildOutcome::End::kTimedOut);
  const auto took = std::chrono::steady_clock::now() - start;
  EXPECT_GE(took, std::chrono::milliseconds(300));
  EXPECT_LT(took, std::chrono::seconds(5));
}

TEST(ChildProcess, GivesItsExitCode) {
  const ChildOutcome outcome = RunSubject("Exits");
  EXPECT_EQ(outcome.end, ChildOutcome::End::kExited);
  EXPECT_EQ(outcome.code, 7);
}

TEST(ChildProcess, GivesAllOfItsOutputAndNoErrors) {
  const ChildOutcome outcome = RunSubject("WritesMuch");
  EXPECT_EQ(outcome.end, ChildOutcome::End::kExited);
  EXPECT_EQ(outcome.code, 0);
  std::size_t count = 0;
  for (const char byte : outcome.output) count += byte == 'x' ? 1 : 0;
  EXPECT_GE(count, 1000000u);
  EXPECT_EQ(outcome.output.find("on standard error"), std::string::npos);
}

TEST(ChildProcess, HasNoInput) {
  const ChildOutcome outcome = RunSubject("HasNoInput");
  EXPECT_EQ(outcome.end, ChildOutcome::End::kExited);
  EXPECT_EQ(outcome.code, 0);
}

TEST(ChildProcess, TakesArgumentsAsTheyAre) {
  // A filter of odd characters matches no test; the program echoes it.
  const ChildOutcome outcome =
      RunChild({"--gtest_brief=0", "--gtest_filter=a b\"c\\d\\\\\" \\"}, std::chrono::seconds(20));
  EXPECT_EQ(outcome.end, ChildOutcome::End::kExited);
  EXPECT_NE(outcome.output.find("Note: Google Test filter = a b\"c\\d\\\\\" \\"), std::string::npos)
      << outcome.output;
}

}  // namespace
