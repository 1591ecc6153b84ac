#include "tavhost/files/name_lock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <thread>

namespace {

// No system gives out a number like this.
constexpr std::uint32_t kNoProcess = 2147483647;

using name_lock::Lock;
using Outcome = Lock::Outcome;

class NameLock : public testing::Test {
 protected:
  void TearDown() override {
    std::error_code ignored;
    std::filesystem::remove(file_, ignored);
  }

  const std::string file_ =
      (std::filesystem::temp_directory_path() / "tavhost-name-lock-test").string();
};

TEST_F(NameLock, ASecondOneIsBusyAndThenRefused) {
  auto first = name_lock::Take(file_, "0/name");
  ASSERT_NE(first, nullptr);
  const auto other = name_lock::Take(file_, "0/other");
  EXPECT_NE(other, nullptr) << "another name";
  const std::uint64_t offset = 4711 * 2;
  auto a = name_lock::detail::Open(file_, offset);
  const auto b = name_lock::detail::Open(file_, offset);
  EXPECT_EQ(a->Try(), Outcome::kTaken);
  EXPECT_EQ(b->Try(), Outcome::kBusy);
  EXPECT_EQ(b->Try(), Outcome::kBusy) << "looking leaves no trace";
  a->KeepOpen();
  EXPECT_EQ(b->Try(), Outcome::kRefused);
  a.reset();
  EXPECT_EQ(b->Try(), Outcome::kTaken);
}

TEST_F(NameLock, ANameThatIsKeptIsRefusedAtOnceInAnyCase) {
  auto first = name_lock::Take(file_, "0/name");
  ASSERT_NE(first, nullptr);
  first->KeepOpen();
  EXPECT_EQ(name_lock::Take(file_, "0/NAME"), nullptr);
  EXPECT_NE(name_lock::Take(file_, "1/name"), nullptr);
  first.reset();
  EXPECT_NE(name_lock::Take(file_, "0/NAME"), nullptr);
}

TEST_F(NameLock, ANameThatThisProcessHasIsNotWaitedFor) {
  const auto begin = std::chrono::steady_clock::now();
  auto first = name_lock::Take(file_, "0/name");
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(name_lock::Take(file_, "0/NAME"), nullptr);
  EXPECT_LT(std::chrono::steady_clock::now() - begin,
            std::chrono::seconds(name_lock::kLongestWaitSeconds) / 2);
  first.reset();
  EXPECT_NE(name_lock::Take(file_, "0/NAME"), nullptr);
}

TEST_F(NameLock, NothingIsTakenFromAProcessThatHasAName) {
  const std::uint32_t own = name_lock::detail::OwnProcess();
  auto first = name_lock::Take(file_, "0/name");
  auto second = name_lock::Take(file_, "0/other");
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(name_lock::TakeFromGone(file_, own, file_), nullptr);
  first.reset();
  EXPECT_EQ(name_lock::TakeFromGone(file_, own, file_), nullptr);
  EXPECT_NE(name_lock::TakeFromGone(file_, kNoProcess, file_), nullptr);
  second.reset();
  auto gone = name_lock::TakeFromGone(file_, own, file_);
  ASSERT_NE(gone, nullptr);
  std::thread later([&gone] { gone.reset(); });
  EXPECT_NE(name_lock::Take(file_, "0/name"), nullptr) << "it waits for who removes something";
  later.join();
}

TEST_F(NameLock, WithoutAPlaceForTheFileThereIsNone) {
  EXPECT_EQ(name_lock::Take(file_ + "/in/no/folder", "name"), nullptr);
}

}  // namespace
