#include "tavhost/base/long_work.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tavhost/base/event_loop.h"

namespace {

using base::LongWork;

std::uint32_t now = 0;  // milliseconds
std::uint32_t Now() noexcept { return now; }

class LongWorkTest : public testing::Test, private event_loop::Loop {
 protected:
  void SetUp() override {
    now = 0xFFFFFE00;  // the clock runs over meanwhile
    stop::Clear();
    event_loop::SetLoop(this);
    base::SetLongWorkShown([this](std::string_view line) { lines_.emplace_back(line); });
  }
  void TearDown() override {
    base::SetLongWorkShown({});
    event_loop::SetLoop(nullptr);
    stop::Clear();
  }

  int painted_ = 0;
  std::vector<std::string> lines_;

 private:
  void ProcessEvents() override { ADD_FAILURE() << "input and posted work wait"; }
  void ProcessPainting() override { ++painted_; }
  void WaitForEvents(std::uint32_t) override {}
};

TEST_F(LongWorkTest, SaysNothingWhileItIsShort) {
  {
    LongWork work("Copying", "a", LongWork::Unit::kBytes, Now);
    for (int i = 0; i < 999; ++i, ++now) work.At(1, 2);
  }
  EXPECT_TRUE(lines_.empty());
}

TEST_F(LongWorkTest, LetsWindowsPaintInTime) {
  LongWork work("Copying", "a", LongWork::Unit::kBytes, Now);
  work.At(0);
  EXPECT_EQ(painted_, 0);
  for (int i = 0; i < 1000; ++i, ++now) work.At(1, 2);
  EXPECT_GE(painted_, 1000 / 50);
  EXPECT_LE(painted_, 1000 / 20);
}

TEST_F(LongWorkTest, TellsAfterASecondAndTakesItAway) {
  {
    LongWork work("Copying", "big.iso", LongWork::Unit::kBytes, Now);
    work.At(0);
    now += 1000;
    work.At(1'234'567'890, 9'876'543'210);
    EXPECT_EQ(lines_, std::vector<std::string>{"Copying big.iso: 1.2 GB of 9.9 GB, 12%"});
    for (int i = 0; i < 1000; ++i, ++now) work.At(9'876'543'210, 9'876'543'210);
    EXPECT_EQ(lines_.back(), "Copying big.iso: 9.9 GB of 9.9 GB, 100%");
    EXPECT_GE(lines_.size(), 8u);
    EXPECT_LE(lines_.size(), 12u) << "a terminal is not flooded";
  }
  EXPECT_EQ(lines_.back(), "");
}

TEST_F(LongWorkTest, SaysWhatItKnows) {
  LongWork work("Reading", {}, LongWork::Unit::kBytes, Now);
  now += 2000;
  work.At(0);
  EXPECT_EQ(lines_.back(), "Reading");
  now += 200;
  work.Now("/dev/zero");
  work.At(999);
  EXPECT_EQ(lines_.back(), "Reading /dev/zero: 999 bytes");
  now += 200;
  work.At(1500);
  EXPECT_EQ(lines_.back(), "Reading /dev/zero: 1.5 kB");
}

TEST_F(LongWorkTest, TellsOfOperationsInsideEachOther) {
  LongWork outer("Copying files", {}, LongWork::Unit::kThings, Now);
  outer.At(3, 17);
  now += 900;
  {
    LongWork inner("Copying", "a", LongWork::Unit::kBytes, Now);
    now += 100;
    inner.At(5, 10);
    EXPECT_EQ(lines_.back(), "Copying files: 3 of 17, 17%, Copying a: 5 bytes of 10 bytes, 50%");
    now += 100;
  }
  EXPECT_NE(lines_.back(), "") << "the outer one goes on";
  outer.At(4, 17);
  EXPECT_EQ(lines_.back(), "Copying files: 4 of 17, 23%");
}

TEST_F(LongWorkTest, SeesAStopInEachRound) {
  LongWork work("Copying", "a", LongWork::Unit::kBytes, Now);
  EXPECT_TRUE(work.GoesOn(1));
  stop::Request(stop::Reason::kUser);
  EXPECT_FALSE(work.GoesOn(1));
  EXPECT_THROW(work.At(1), stop::Stopped);
}

TEST_F(LongWorkTest, ShowsNothingWhereNobodyLooks) {
  base::SetLongWorkShown({});
  LongWork work("Copying", "a", LongWork::Unit::kBytes, Now);
  now += 5000;
  work.At(1, 2);
  EXPECT_EQ(painted_, 1);
}

}  // namespace
