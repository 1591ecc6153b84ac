#include "tavhost/base/stop.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string calls;

class StopRequest : public testing::Test {
 protected:
  void SetUp() override {
    stop::Clear();
    calls.clear();
    stop::SetWatch({[]() noexcept { calls += "begin "; }, []() noexcept { calls += "end "; }});
  }
  void TearDown() override {
    stop::SetWatch({});
    stop::Clear();
  }
};

TEST_F(StopRequest, TheFirstRequestStandsUntilItIsCleared) {
  EXPECT_NO_THROW(stop::ThrowIfRequested());
  stop::Request(stop::Reason::kTimeout);
  stop::Request(stop::Reason::kUser);
  EXPECT_EQ(stop::Requested(), stop::Reason::kTimeout);
  EXPECT_THROW(stop::ThrowIfRequested(), stop::Stopped);
  stop::Clear();
  EXPECT_FALSE(stop::IsRequested());
  EXPECT_EQ(stop::Requested(), stop::Reason::kNone);
}

TEST_F(StopRequest, ARequestIsWatchedUntilItIsCleared) {
  stop::Request(stop::Reason::kTerminate);
  stop::Request(stop::Reason::kUser);
  EXPECT_EQ(calls, "begin ");
  EXPECT_EQ(stop::Watched(), stop::Reason::kTerminate);
  stop::Clear();
  stop::Clear();
  EXPECT_EQ(calls, "begin end ");
  EXPECT_EQ(stop::Watched(), stop::Reason::kNone);
  stop::Request(stop::Reason::kUser);
  EXPECT_EQ(calls, "begin end begin ");
}

TEST_F(StopRequest, CleaningUpIsNotStoppedButWatched) {
  stop::Request(stop::Reason::kUser);
  {
    const stop::CleanUp cleanUp;
    EXPECT_FALSE(stop::IsRequested());
    EXPECT_EQ(stop::Watched(), stop::Reason::kUser);
    EXPECT_EQ(calls, "begin ");
  }
  EXPECT_EQ(calls, "begin end ");
  EXPECT_EQ(stop::Watched(), stop::Reason::kNone);
}

TEST_F(StopRequest, ARequestDuringTheCleaningUpStands) {
  {
    const stop::CleanUp cleanUp;
    stop::Request(stop::Reason::kUser);
  }
  EXPECT_TRUE(stop::IsRequested());
  EXPECT_EQ(calls, "begin ");
}

TEST_F(StopRequest, CleaningUpWithoutARequestIsNothingToWatch) {
  { const stop::CleanUp cleanUp; }
  EXPECT_EQ(calls, "");
}

}  // namespace
