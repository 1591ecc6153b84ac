#include "host/files/dir_entry.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

std::string PathOf(const char* pattern) {
  return SV::DirEntry(SV::String(pattern)).GetPath().GetFull().GetStr();
}

TEST(DirEntry, GivesTheDirectoryOfAPattern) {
  EXPECT_EQ(PathOf("sub\\*.txt"), "sub");
  EXPECT_EQ(PathOf("a/b\\c/*"), "a/b/c");
  EXPECT_EQ(PathOf("/tmp/x*"), "/tmp");
}

TEST(DirEntry, APatternWithoutDirectoryLiesInTheCurrentOneNeverInTheRoot) {
  EXPECT_EQ(PathOf("x*.tmp"), ".");
  EXPECT_EQ(PathOf(""), ".");
  EXPECT_EQ(PathOf("."), ".");
}

TEST(DirEntry, TheRootKeepsItsSeparator) {
  EXPECT_EQ(PathOf("/x"), "/");
  EXPECT_EQ(PathOf("\\*"), "/");
}

TEST(DirEntry, ShowsPathsInTheSystemsStyle) {
  EXPECT_STREQ(SV::DirEntry(SV::String("a\\b")).GetFull().GetStr(), "a/b");
}

TEST(DirEntry, TheCurrentDirectoryBecomesAbsolute) {
  SV::DirEntry current(SV::FSYS_FLAG_CURRENT);
  EXPECT_TRUE(current.ToAbs());
  EXPECT_EQ(current.GetFull().GetStr(), std::filesystem::current_path().string());
  SV::DirEntry relative(SV::String("a\\b"));
  EXPECT_TRUE(relative.ToAbs());
  EXPECT_EQ(relative.GetFull().GetStr(), (std::filesystem::current_path() / "a/b").string());
  SV::DirEntry absolute(SV::String("\\a\\b"));
  EXPECT_TRUE(absolute.ToAbs());
  EXPECT_STREQ(absolute.GetFull().GetStr(), "/a/b");
}

TEST(DirEntry, ARemovedCurrentDirectoryIsWhereItWas) {
  const std::filesystem::path before = std::filesystem::current_path();
  char folder[] = "/tmp/tavhost-test-XXXXXX";
  ASSERT_NE(mkdtemp(folder), nullptr);
  std::filesystem::current_path(folder);
  rmdir(folder);
  SV::DirEntry current(SV::FSYS_FLAG_CURRENT);
  EXPECT_TRUE(current.ToAbs());
  EXPECT_STREQ(current.GetFull().GetStr(), folder);
  SV::DirEntry relative(SV::String("a"));
  EXPECT_TRUE(relative.ToAbs());
  EXPECT_EQ(relative.GetFull().GetStr(), std::string(folder) + "/a");
  std::filesystem::current_path(before);
}

}  // namespace
