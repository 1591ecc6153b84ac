#include "tavhost/base/event_loop.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>
#include <vector>

#include "tavhost/base/stop.h"
#include "tavhost/headless/headless_toolkit.h"

namespace {

using Clock = std::chrono::steady_clock;

class PostedWork : public testing::Test {
 protected:
  void SetUp() override {
    stop::Clear();
    toolkit_ = ui::CreateHeadlessToolkit({});
    toolkit_->ProcessEvents();
  }
  void TearDown() override { stop::Clear(); }

  std::chrono::milliseconds WaitTime(std::uint32_t milliseconds) {
    const Clock::time_point start = Clock::now();
    toolkit_->WaitForEvents(milliseconds);
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
  }

  // That a thread has begun to wait cannot be seen from outside, so it is given the time. What
  // comes before its wait ends that too: the tests hold either way, this only makes them meet the
  // wait.
  static void LetTheOtherWait() { std::this_thread::sleep_for(std::chrono::milliseconds(30)); }

  std::unique_ptr<ui::Toolkit> toolkit_;
};

TEST_F(PostedWork, RunsInOrderAndOnlyOnce) {
  std::vector<int> ran;
  for (int i = 0; i < 3; ++i) event_loop::Post([&ran, i] { ran.push_back(i); });
  EXPECT_TRUE(event_loop::HasPostedWork());
  toolkit_->ProcessEvents();
  toolkit_->ProcessEvents();
  EXPECT_EQ(ran, (std::vector<int>{0, 1, 2}));
}

TEST_F(PostedWork, ItsFirstUseIsToldOnce) {
  static int begun;
  begun = 0;
  event_loop::OnFirstUse([] { ++begun; });
  EXPECT_EQ(begun, 0);
  event_loop::ProcessEvents();
  event_loop::WaitForEvents(0);
  event_loop::ProcessPainting();
  EXPECT_EQ(begun, 1);
}

TEST_F(PostedWork, WorkPostedByWorkWaitsForTheNextTime) {
  int ran = 0;
  event_loop::Post([&ran] {
    event_loop::Post([&ran] { ++ran; });
    event_loop::RunPostedWork();
  });
  toolkit_->ProcessEvents();
  EXPECT_EQ(ran, 0);
  toolkit_->ProcessEvents();
  EXPECT_EQ(ran, 1);
}

TEST_F(PostedWork, AWaitInsideWorkIsNoBusyLoopAndLosesNoWakeUp) {
  int ran = 0;
  std::chrono::milliseconds waited{};
  event_loop::Post([&] {
    event_loop::Post([&ran] { ++ran; });
    EXPECT_FALSE(event_loop::HasPostedWork());
    toolkit_->ProcessEvents();  // uses up the wake-up
    waited = WaitTime(60);
  });
  toolkit_->ProcessEvents();
  EXPECT_GE(waited, std::chrono::milliseconds(50));
  EXPECT_EQ(ran, 0);
  EXPECT_LT(WaitTime(10000), std::chrono::milliseconds(1000));
  toolkit_->ProcessEvents();
  EXPECT_EQ(ran, 1);
}

TEST_F(PostedWork, WaitsForItsTimeWhenNothingHappens) {
  EXPECT_GE(WaitTime(60), std::chrono::milliseconds(50));
}

TEST_F(PostedWork, WorkFromAnotherThreadEndsAWait) {
  int ran = 0;
  std::thread poster([&ran] {
    LetTheOtherWait();
    event_loop::Post([&ran] { ++ran; });
  });
  EXPECT_LT(WaitTime(10000), std::chrono::milliseconds(1000));
  poster.join();
  toolkit_->ProcessEvents();
  EXPECT_EQ(ran, 1);
  EXPECT_GE(WaitTime(60), std::chrono::milliseconds(50)) << "a handled wake-up wakes again";
}

TEST_F(PostedWork, AWaitEndsAtOnceWhenAStopIsAskedFor) {
  std::thread stopper([] {
    LetTheOtherWait();
    stop::Request(stop::Reason::kUser);
  });
  EXPECT_LT(WaitTime(10000), std::chrono::milliseconds(1000));
  stopper.join();
  EXPECT_LT(WaitTime(10000), std::chrono::milliseconds(1000))
      << "a stop before the wait counts too";
}

}  // namespace
