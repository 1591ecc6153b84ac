#include "tavhost/base/environment.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

constexpr char kName[] = "TAVHOST_TEST_VARIABLE";

TEST(EnvironmentVariables, KeepsTheLastValue) {
  for (const std::string& value : {std::string("a"), std::string(), std::string(5000, 'b')}) {
    base::ChangeEnvironment(kName, value);
    EXPECT_EQ(base::EnvironmentVariable(kName), value);
  }
  for (int i = 0; i < 1000; ++i) base::ChangeEnvironment(kName, std::to_string(i));
  EXPECT_EQ(base::EnvironmentVariable(kName), "999");
  const auto all = base::EnvironmentVariables();
  EXPECT_EQ(std::count(all.begin(), all.end(), std::pair<std::string, std::string>(kName, "999")),
            1);
}

TEST(EnvironmentVariables, ForgetsAVariable) {
  base::ChangeEnvironment(kName, "a");
  base::ChangeEnvironment(kName, std::nullopt);
  EXPECT_EQ(base::EnvironmentVariable(kName), std::nullopt);
  base::ChangeEnvironment(kName, std::nullopt);
  base::ChangeEnvironment(kName, "b");
  EXPECT_EQ(base::EnvironmentVariable(kName), "b");
  base::ChangeEnvironment(kName, std::nullopt);
}

}  // namespace
