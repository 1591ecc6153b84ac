#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

int main(int count, char** arguments) {
  testing::InitGoogleTest(&count, arguments);
  const int result = RUN_ALL_TESTS();
  // The plug-in and its windows go with the process.
  std::fflush(nullptr);
  std::_Exit(result);
}
