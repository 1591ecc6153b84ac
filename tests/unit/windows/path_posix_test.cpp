#include "tavhost/windows/path.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using windows::Path;

std::string Translated(const char* text) {
  const Path path(text);
  return path.IsValid() ? std::string(path.View()) : "invalid";
}

TEST(Path, BothSeparatorsSeparateAndRepeatedOnesCollapse) {
  EXPECT_EQ(Translated("sub\\in.txt"), "sub/in.txt");
  EXPECT_EQ(Translated("\\tmp\\x"), "/tmp/x");
  EXPECT_EQ(Translated("sub\\\\in.txt"), "sub/in.txt");
  EXPECT_EQ(Translated("sub/\\/in.txt"), "sub/in.txt");
  EXPECT_EQ(Translated("/\\x"), "/x");
  EXPECT_EQ(Translated("/"), "/");
}

TEST(Path, DotsAreResolvedInTheText) {
  EXPECT_EQ(Translated("sub\\..\\a"), "a");
  EXPECT_EQ(Translated(".\\a"), "a");
  EXPECT_EQ(Translated("a\\.\\b"), "a/b");
  EXPECT_EQ(Translated("sub\\.."), ".");
  EXPECT_EQ(Translated("."), ".");
  EXPECT_EQ(Translated("..\\x"), "../x");
  EXPECT_EQ(Translated("..\\..\\x\\.."), "../..");
  EXPECT_EQ(Translated("a\\..\\..\\b"), "../b");
  EXPECT_EQ(Translated("/.."), "/");
  EXPECT_EQ(Translated("/a/../../b"), "/b");
  EXPECT_EQ(Translated("..."), "...");
  EXPECT_EQ(Translated(".x"), ".x");
}

TEST(Path, WhatCannotNameAFileIsInvalid) {
  for (const char* text : {"", "C:\\x", "c:", "x/../k:", ".\\k:", "x/../db:/y", "\\\\server\\share",
                           "//server/share", "db:\\x", "DB:/x", "a*b", "a?", "s*\\x"}) {
    EXPECT_EQ(Translated(text), "invalid") << text;
  }
  EXPECT_FALSE(Path(nullptr).IsValid());
  EXPECT_EQ(Translated("ab:\\x"), "ab:/x");
}

TEST(Path, OnlyTheLastComponentMayBeAPattern) {
  EXPECT_TRUE(Path("sub\\*.txt", Path::Last::kPattern).IsValid());
  EXPECT_FALSE(Path("s*\\x", Path::Last::kPattern).IsValid());
  EXPECT_FALSE(Path("*/*", Path::Last::kPattern).IsValid());
  EXPECT_FALSE(Path("sub\\*\\", Path::Last::kPattern).IsValid());
}

TEST(Path, TellsATrailingSeparator) {
  EXPECT_TRUE(Path("a\\").HasTrailingSeparator());
  EXPECT_TRUE(Path("/").HasTrailingSeparator());
  EXPECT_FALSE(Path("a").HasTrailingSeparator());
  EXPECT_FALSE(Path("a\\.").HasTrailingSeparator());
  EXPECT_EQ(Translated("a\\b\\"), "a/b");
}

TEST(Path, SplitsDirectoryAndName) {
  EXPECT_EQ(Path("x").Directory(), ".");
  EXPECT_EQ(Path("/x").Directory(), "/");
  EXPECT_EQ(Path("a\\b\\c").Directory(), "a/b");
  EXPECT_STREQ(Path("a\\b\\c").Name(), "c");
  EXPECT_STREQ(Path("x").Name(), "x");
}

TEST(Path, HoldsPathsOfAnyLength) {
  std::string text;
  std::string expected;
  for (int i = 0; i < 5000; ++i) {
    text += "d\\";
    expected += "d/";
  }
  expected.pop_back();
  EXPECT_EQ(Translated(text.c_str()), expected);
  for (std::size_t length : {1021u, 1022u, 1023u, 1024u, 1025u}) {
    const std::string name(length, 'n');
    EXPECT_EQ(Translated(name.c_str()), name);
  }
}

}  // namespace
