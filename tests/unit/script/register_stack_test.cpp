#include "tavhost/script/register_stack.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using kel::Value;
using script::RegisterStack;

void ExpectFree(Value* registers, std::uint32_t count) {
  for (std::uint32_t i = 0; i < count; ++i) EXPECT_TRUE(registers[i].IsNone());
}

// A text that needs no register runs before any other: the prompt's first line may be one.
TEST(RegisterStack, BeginsWithNothing) {
  RegisterStack stack;
  Value* const nothing = stack.Take(0);
  Value* const one = stack.Take(1);
  ASSERT_NE(one, nullptr);
  one[0] = Value(1);
  stack.GiveBack(one, 1);
  stack.GiveBack(nothing, 0);
  Value* const next = stack.Take(3);
  ASSERT_NE(next, nullptr);
  ExpectFree(next, 3);
  stack.GiveBack(next, 3);
}

TEST(RegisterStack, GivesNothingBackBeforeTheFirstBlock) {
  RegisterStack stack;
  stack.GiveBack(stack.Take(0), 0);
  Value* const next = stack.Take(2);
  ASSERT_NE(next, nullptr);
  ExpectFree(next, 2);
  stack.GiveBack(next, 2);
}

// Over the borders of blocks, up and down, nothing taken in between.
TEST(RegisterStack, GoesOverBordersOfBlocks) {
  RegisterStack stack;
  struct Taken {
    Value* values;
    std::uint32_t count;
  };
  for (int round = 0; round < 3; ++round) {
    std::vector<Taken> taken;
    for (std::uint32_t count : {239u, 1u, 0u, 1u, 4095u, 0u, 5000u, 0u, 7u, 1u}) {
      taken.push_back({stack.Take(count), count});
      ExpectFree(taken.back().values, count);
      for (std::uint32_t i = 0; i < count; ++i) {
        taken.back().values[i] = Value(static_cast<std::int32_t>(taken.size()));
      }
    }
    while (!taken.empty()) {
      for (std::uint32_t i = 0; i < taken.back().count; ++i) {
        EXPECT_EQ(taken.back().values[i].Integer(), static_cast<std::int32_t>(taken.size()));
      }
      stack.GiveBack(taken.back().values, taken.back().count);
      taken.pop_back();
    }
  }
}

}  // namespace
