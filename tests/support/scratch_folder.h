#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

// A test that runs in a new empty folder, removed afterwards.
class ScratchFolder : public ::testing::Test {
 protected:
  void SetUp() override {
    before_ = std::filesystem::current_path();
    char folder[] = "/tmp/tavhost-test-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    folder_ = folder;
    std::filesystem::current_path(folder_);
  }
  void TearDown() override {
    std::filesystem::current_path(before_);
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }

  static void Write(const std::string& path, const std::string& contents) {
    std::filesystem::create_directories(std::filesystem::absolute(path).parent_path());
    std::ofstream(path, std::ios::binary) << contents;
  }
  static std::string Read(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  static bool Exists(const std::string& path) {
    struct stat status;
    return lstat(path.c_str(), &status) == 0;
  }
  // Every name below a folder, so that stray files show.
  static int CountEntries(const std::string& folder) {
    int count = 0;
    for ([[maybe_unused]] const auto& entry :
         std::filesystem::recursive_directory_iterator(folder)) {
      ++count;
    }
    return count;
  }

  std::filesystem::path before_;
  std::string folder_;
};
