#include "tavhost/http/http_watch.h"

#include <gtest/gtest.h>

namespace {

using http::Timeouts;
using http::Watch;
using Phase = Watch::Phase;

// A watch with a clock that the test sets.
struct Timed {
  explicit Timed(const Timeouts& timeouts) : watch(timeouts, Watch::Clock::time_point{}) {}

  Watch::Clock::time_point At(int ms) const {
    return Watch::Clock::time_point{} + std::chrono::milliseconds(ms);
  }
  bool IsOver(int ms) { return watch.IsOver(At(ms)); }
  void Enter(Phase phase, int ms) { watch.Enter(phase, At(ms)); }

  Watch watch;
};

TEST(HttpWatch, LimitsEachPhase) {
  Timed timed({100, 200, 300, 400});
  EXPECT_FALSE(timed.IsOver(100));
  EXPECT_TRUE(timed.IsOver(101));
  timed.Enter(Phase::kConnecting, 100);
  EXPECT_FALSE(timed.IsOver(300));
  EXPECT_TRUE(timed.IsOver(301));
  timed.Enter(Phase::kSending, 300);
  EXPECT_FALSE(timed.IsOver(600));
  EXPECT_TRUE(timed.IsOver(601));
  timed.Enter(Phase::kReceiving, 500);
  EXPECT_FALSE(timed.IsOver(900));
  EXPECT_TRUE(timed.IsOver(901));
}

TEST(HttpWatch, EachArrivalGrantsTheReceiveTimeAnewUpToTheWhole) {
  Timed timed({100, 100, 100, 100});
  timed.Enter(Phase::kReceiving, 10);
  for (int ms = 50; ms <= 400; ms += 50) {
    timed.watch.Received(timed.At(ms));
    EXPECT_FALSE(timed.IsOver(ms)) << ms;
  }
  timed.watch.Received(timed.At(401));
  EXPECT_TRUE(timed.IsOver(401));
}

TEST(HttpWatch, FurtherExchangesHaveWhatIsLeftOfTheWhole) {
  Timed timed({100, 100, 100, 100});
  for (int begin = 0; begin < 400; begin += 90) {
    timed.watch.BeginExchange(timed.At(begin));
    EXPECT_FALSE(timed.IsOver(begin + 40));
    timed.Enter(Phase::kReceiving, begin + 40);
    EXPECT_EQ(timed.IsOver(begin + 89), begin + 89 > 400);
  }
}

TEST(HttpWatch, OnlyTimeWithoutALimitIsGivenBack) {
  Timed timed({100, 0, 100, 100});
  timed.Enter(Phase::kConnecting, 0);
  EXPECT_FALSE(timed.IsOver(5000));
  timed.Enter(Phase::kReceiving, 5000);
  EXPECT_FALSE(timed.IsOver(5100));
  timed.watch.BeginExchange(timed.At(5100));
  EXPECT_FALSE(timed.IsOver(5150));
  timed.Enter(Phase::kConnecting, 5150);
  EXPECT_FALSE(timed.IsOver(9150));
  timed.Enter(Phase::kReceiving, 9150);
  EXPECT_FALSE(timed.IsOver(9240));  // 240 of 300
  timed.watch.Received(timed.At(9240));
  EXPECT_FALSE(timed.IsOver(9300));
  EXPECT_TRUE(timed.IsOver(9301));
}

TEST(HttpWatch, PhasesNeverGoBack) {
  Timed timed({100, 100, 100, 50});
  timed.Enter(Phase::kReceiving, 10);
  timed.Enter(Phase::kConnecting, 50);
  EXPECT_TRUE(timed.IsOver(61));
}

TEST(HttpWatch, AConnectionWithoutLimitDoesNotUseUpTheRest) {
  Timed timed({100, 0, 100, 100});
  timed.Enter(Phase::kConnecting, 50);
  EXPECT_FALSE(timed.IsOver(5000));
  timed.Enter(Phase::kReceiving, 5000);
  EXPECT_FALSE(timed.IsOver(5100));
  EXPECT_TRUE(timed.IsOver(5101));
}

TEST(HttpWatch, NoLimitOnReceivingMeansNoneOnTheWhole) {
  Timed timed({100, 100, 100, 0});
  timed.Enter(Phase::kReceiving, 50);
  EXPECT_FALSE(timed.IsOver(1'000'000'000));
}

}  // namespace
