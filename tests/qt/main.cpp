#include <gtest/gtest.h>

#include <cstdlib>

int main(int count, char** arguments) {
  testing::InitGoogleTest(&count, arguments);
  return RUN_ALL_TESTS();
}
