#include "tavhost/base/result.h"

#include <gtest/gtest.h>

#include <memory>
#include <tl/expected.hpp>
#include <utility>

namespace {

base::Result<int> Half(int number) {
  if (number % 2 != 0) return base::Failure(std::to_string(number) + " is odd");
  return number / 2;
}

TEST(Result, HoldsAValueOrWhyThereIsNone) {
  const base::Result<int> half = Half(6);
  ASSERT_TRUE(half);
  EXPECT_EQ(*half, 3);
  const base::Result<int> none = Half(7);
  ASSERT_FALSE(none);
  EXPECT_EQ(none.error().message, "7 is odd");
  EXPECT_EQ(none.error().file, std::nullopt);
}

TEST(Result, OfNothingTellsWhetherItWentWell) {
  const auto check = [](bool holds) -> base::Result<void> {
    if (!holds) return base::Failure("it does not hold");
    return {};
  };
  EXPECT_TRUE(check(true));
  base::Result<void> checked = check(false);
  ASSERT_FALSE(checked);
  EXPECT_EQ(checked.error().message, "it does not hold");
  checked = check(true);
  EXPECT_TRUE(checked);
  checked = check(false);
  EXPECT_FALSE(checked);
}

TEST(Result, HandsOnWhatCannotBeCopied) {
  base::Result<std::unique_ptr<int>> made = std::make_unique<int>(7);
  const std::unique_ptr<int> taken = std::move(*made);
  EXPECT_EQ(*taken, 7);
}

TEST(Result, HasAnotherCauseWhereWordsDoNotServe) {
  const auto start = [](bool works) -> base::Result<std::string, int> {
    if (!works) return tl::unexpected<int>(2);
    return "started";
  };
  EXPECT_EQ(*start(true), "started");
  EXPECT_EQ(start(false).error(), 2);
}

TEST(Error, IsItsMessageBehindItsPlace) {
  const auto text = [](const tl::unexpected<base::Error>& failure) {
    return failure.value().Text();
  };
  EXPECT_EQ(text(base::Failure("why")), "why");
  EXPECT_EQ(text(base::Failure("why", "a.tav")), "a.tav: error: why");
  EXPECT_EQ(text(base::Failure("why", "a.tav", 3)), "a.tav:3: error: why");
  EXPECT_EQ(text(base::Failure("why", "a.tav", 3, 14)), "a.tav:3:14: error: why");
  EXPECT_EQ(text(base::Failure("why", "", 3, 14)), ":3:14: error: why")
      << "a file without a name is a file";
  EXPECT_EQ(text(base::Failure("why", std::nullopt, 3, 14)), "why");
}

}  // namespace
