#include "tavhost/files/area_leftovers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "tavhost/files/disk.h"
#include "tavhost/files/name_lock.h"

namespace {

namespace fs = std::filesystem;

class AreaLeftovers : public testing::Test {
 protected:
  void SetUp() override { fs::create_directories(folder_); }
  void TearDown() override { fs::remove_all(folder_); }

  void Make(const std::string& name) { std::ofstream(folder_ / name) << "x"; }

  // What is there once all that can go is gone.
  std::vector<std::string> Left() {
    const std::string folder = folder_.string();
    area_leftovers::Remove(locks_, folder, disk::FilesOf(folder).files);
    std::vector<std::string> files = disk::FilesOf(folder).files;
    std::erase(files, "locks");
    std::sort(files.begin(), files.end());
    return files;
  }

  const fs::path folder_ = fs::temp_directory_path() / "tavhost-area-leftovers-test";
  const std::string locks_ = (folder_ / "locks").string();
};

TEST_F(AreaLeftovers, GoWhenTheirProgramIsGoneReadOnlyOrNot) {
  Make(".tavhost-2147483647-1.tmp");
  Make(".tavhost-2147483647-2.tmp");
  fs::permissions(folder_ / ".tavhost-2147483647-2.tmp", fs::perms::owner_read);
  Make("name");
  EXPECT_EQ(Left(), std::vector<std::string>{"name"});
}

TEST_F(AreaLeftovers, StayWhileAProgramOfThatNumberWrites) {
  const std::string own = ".tavhost-" + std::to_string(name_lock::detail::OwnProcess()) + "-1.tmp";
  Make(own);
  auto lock = name_lock::Take(locks_, "0/name");
  ASSERT_NE(lock, nullptr);
  EXPECT_EQ(Left(), std::vector<std::string>{own});
  lock.reset();
  EXPECT_EQ(Left(), std::vector<std::string>());
}

TEST_F(AreaLeftovers, OtherNamesStay) {
  const std::vector<std::string> names = {".tavhost--1.tmp",
                                          ".tavhost-1-.tmp",
                                          ".tavhost-1.tmp",
                                          ".tavhost-2147483647-1",
                                          ".tavhost-2147483647-1-1.tmp",
                                          ".tavhost-lock",
                                          ".tavhost-x-1.tmp",
                                          "tavhost-2147483647-1.tmp"};
  for (const std::string& name : names) Make(name);
  EXPECT_EQ(Left(), names);
}

}  // namespace
