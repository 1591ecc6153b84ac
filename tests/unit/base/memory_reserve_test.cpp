#include "tavhost/base/memory_reserve.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

TEST(MemoryReserve, IsGivenOnlyToThoseWhoMayUseIt) {
  memory_reserve::Keep();
  memory_reserve::Keep();
  EXPECT_FALSE(memory_reserve::Release());
  {
    const memory_reserve::Use outer;
    {
      const memory_reserve::Use inner;
      EXPECT_TRUE(memory_reserve::Release());
    }
    EXPECT_FALSE(memory_reserve::Release()) << "it is used up";
    std::thread([] { EXPECT_FALSE(memory_reserve::Release()); }).join();
  }
  EXPECT_FALSE(memory_reserve::Release());
  const memory_reserve::Use again;
  EXPECT_TRUE(memory_reserve::Release()) << "it is set aside again";
}

}  // namespace
