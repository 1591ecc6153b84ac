#include "tavhost/base/leftover_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/scratch_folder.h"

namespace {

class LeftoverFiles : public ScratchFolder {
 protected:
  static std::string Made(const std::string& name) {
    Write(name, name);
    return name;
  }
};

TEST_F(LeftoverFiles, AreRemovedAllAtOnce) {
  const std::string first = Made("first");
  const std::string second = Made("second");
  const std::string other = Made("other");
  const LeftoverFile one(first);
  const LeftoverFile two(second);
  LeftoverFile::RemoveAll();
  EXPECT_FALSE(Exists(first));
  EXPECT_FALSE(Exists(second));
  EXPECT_TRUE(Exists(other));
  LeftoverFile::RemoveAll();  // what is gone is no error
}

TEST_F(LeftoverFiles, WhatHasTakenTheirPlaceStays) {
  const std::string path = Made("file");
  const std::string other = Made("other");
  LeftoverFile file(path);
  std::filesystem::rename(other, path);
  LeftoverFile::RemoveAll();
  EXPECT_TRUE(Exists(path));
  file.Remove();
  EXPECT_TRUE(Exists(path));
  LeftoverFile again(path);
  again.Remove();
  EXPECT_FALSE(Exists(path));
}

TEST_F(LeftoverFiles, BelongToTheirObject) {
  const std::string path = Made("file");
  { const LeftoverFile file(path); }
  LeftoverFile::RemoveAll();
  EXPECT_TRUE(Exists(path)) << "the object has gone; the file is no leftover any more";
  LeftoverFile first(path);
  LeftoverFile second(std::move(first));
  LeftoverFile third(Made("third"));
  third = std::move(second);
  LeftoverFile::RemoveAll();
  EXPECT_FALSE(Exists(path));
}

TEST_F(LeftoverFiles, MoreThanThereIsRoomForDoNoHarm) {
  std::vector<LeftoverFile> files;
  for (int i = 0; i < 100; ++i) files.emplace_back(Made(std::to_string(i)));
  LeftoverFile::RemoveAll();
  EXPECT_FALSE(Exists("0"));
  files.clear();
  const std::string path = Made("again");
  const LeftoverFile again(path);
  LeftoverFile::RemoveAll();
  EXPECT_FALSE(Exists(path));
}

}  // namespace
