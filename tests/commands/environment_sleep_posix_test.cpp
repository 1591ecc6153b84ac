// SLEEP against a clock whose ticks are given one by one.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "commands/handlers.h"
#include "host/notation/kel_parser.h"
#include "host/script/script_result.h"
#include "tavhost/base/stop.h"
#include "tavhost/tools/modeling_shell.h"
#include "tavhost/windows/clock.h"
#include "tests/support/fake_toolkit.h"
#include "tests/support/traced.h"

namespace {

using Lines = std::vector<std::string>;

std::vector<std::uint32_t> ticks;
std::size_t nextTick = 0;

DWORD NextTick() {
  if (nextTick >= ticks.size()) {
    ADD_FAILURE() << "the clock is read too often";
    return 0xFFFFFFFF;
  }
  return ticks[nextTick++];
}

class Sleep : public testing::Test {
 protected:
  void SetUp() override { windows_clock::SetTickSource(NextTick); }
  void TearDown() override {
    windows_clock::SetTickSource(nullptr);
    modeling_shell::SetModelWindow(false);
    stop::Clear();
  }

  // Runs it on the given ticks, which must all be read.
  void Run(const char* command, std::vector<std::uint32_t> given) {
    ticks = std::move(given);
    nextTick = 0;
    TavKelParser parser(command);
    ASSERT_EQ(parser.Parse(), 0);
    TavScriptResult result;
    const trace::PluginScope plugin;
    commands::Command_SLEEP("SLEEP", parser, result);
    EXPECT_EQ(nextTick, ticks.size());
    EXPECT_EQ(result.GetText().Len(), 0);
  }

  FakeToolkit toolkit_;
};

TEST_F(Sleep, OfNothingReschedulesOnce) {
  Run("SLEEP ms:0", {1000, 1000});
  EXPECT_EQ(toolkit_.asked, (Lines{"process"}));
}

TEST_F(Sleep, OfANegativeTimeReschedulesOnce) {
  Run("SLEEP ms:-1", {1000, 1000});
  Run("SLEEP ms:-1000", {1000, 1000});
  EXPECT_EQ(toolkit_.asked, (Lines{"process", "process"}));
}

TEST_F(Sleep, WaitsForTheRestOfTheTimeAgainAndAgain) {
  Run("SLEEP ms:100", {1000, 1001, 1040, 1099, 1100});
  EXPECT_EQ(toolkit_.asked,
            (Lines{"wait 99", "process", "wait 60", "process", "wait 1", "process"}));
}

TEST_F(Sleep, EndsAtOnceWhenTheDeadlineWrapsAround) {
  Run("SLEEP ms:1000", {0xFFFFFF00, 0xFFFFFF00});
  EXPECT_EQ(toolkit_.asked, (Lines{"process"}));
}

TEST_F(Sleep, EndsWhenTheCounterWrapsAroundOnlyAtItsDeadline) {
  Run("SLEEP ms:255", {0xFFFFFF00, 0xFFFFFF00, 0xFFFFFFFE, 0xFFFFFFFF});
  EXPECT_EQ(toolkit_.asked, (Lines{"wait 255", "process", "wait 1", "process"}));
}

TEST_F(Sleep, OfANegativeTimeFromACounterNearNothingWaits) {
  Run("SLEEP ms:-1", {0, 0, 0xFFFFFFFF});
  EXPECT_EQ(toolkit_.asked, (Lines{"wait 4294967295", "process"}));
  toolkit_.asked.clear();
  Run("SLEEP ms:-1000", {5, 5, 4294966301});
  EXPECT_EQ(toolkit_.asked, (Lines{"wait 4294966296", "process"}));
}

TEST_F(Sleep, AsksTheHostInThisOrder) {
  const Traced traced;
  Run("SLEEP ms:10", {1000, 1004, 1010});
  EXPECT_EQ(traced.Lines(),
            (Lines{"Tav_IsInvalidKelParamType(\"ms\", 2, false) -> false", "GetTickCount() -> 1000",
                   "TavModelingShell::GetGlobal() -> null", "GetTickCount() -> 1004",
                   "MsgWaitForMultipleObjectsEx(0, null, 6, 1215, 0) -> 0",
                   "SV::GetpApp() -> SV::Application", "SV::Application::Reschedule(31)",
                   "GetTickCount() -> 1010"}));
}

TEST_F(Sleep, RedrawsTheModelWindowsOnceAlsoForNoTime) {
  modeling_shell::SetModelWindow(true);
  const Traced traced;
  Run("SLEEP ms:0", {1000, 1000});
  EXPECT_EQ(traced.Lines(),
            (Lines{"Tav_IsInvalidKelParamType(\"ms\", 2, false) -> false", "GetTickCount() -> 1000",
                   "TavModelingShell::GetGlobal() -> TavModelingShell",
                   "TavModelingShell::UpdateAllModelWindows()", "GetTickCount() -> 1000",
                   "SV::GetpApp() -> SV::Application", "SV::Application::Reschedule(31)"}));
  Run("SLEEP ms:3", {1000, 1000, 1001, 1003});
  EXPECT_EQ(traced.Count("TavModelingShell::UpdateAllModelWindows()"), 2);
}

TEST_F(Sleep, ReadsNoClockWhenItsCheckFails) {
  ticks.clear();
  nextTick = 0;
  TavKelParser parser("SLEEP ms:\"x\"");
  parser.Parse();
  TavScriptResult result;
  commands::Command_SLEEP("SLEEP", parser, result);
  EXPECT_TRUE(result.HasError());
  EXPECT_TRUE(toolkit_.asked.empty());
}

TEST_F(Sleep, EndsByAStopRequest) {
  stop::Request(stop::Reason::kUser);
  EXPECT_THROW(Run("SLEEP ms:100000", {1000, 1000}), stop::Stopped);
  EXPECT_EQ(toolkit_.asked, (Lines{"wait 100000", "process"}));
}

}  // namespace
