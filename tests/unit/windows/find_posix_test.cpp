#include <fcntl.h>

#include <map>

#include "host/windows/directories.h"
#include "host/windows/files.h"
#include "tavhost/base/stop.h"
#include "tests/support/scratch_folder.h"

namespace {

class Find : public ScratchFolder {
 protected:
  // The names found, joined by "*"; "none" when the search fails. Directories end in "/", links
  // in "@".
  static std::string List(const char* pattern) {
    WIN32_FIND_DATAA data;
    HANDLE search = FindFirstFileA(pattern, &data);
    if (search == INVALID_HANDLE_VALUE) return "none";
    std::string names;
    do {
      if (!names.empty()) names += '*';
      names += data.cFileName;
      if (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) names += '/';
      if (data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) names += '@';
    } while (FindNextFileA(search, &data));
    EXPECT_EQ(FindNextFileA(search, &data), 0);
    EXPECT_NE(FindClose(search), 0);
    return names;
  }
};

TEST_F(Find, DotsComeFirstThenNamesWithoutRegardToCase) {
  Write("b", "");
  Write("A", "");
  Write("a", "");
  Write("C/x", "");
  Write(".dot", "");
  Write("_", "");
  EXPECT_EQ(List("*"), "./*../*.dot*A*a*b*C/*_");
  EXPECT_EQ(List("*.*"), "./*../*.dot*A*a*b*C/*_");
  EXPECT_EQ(List(".*"), "./*../*.dot");
  EXPECT_EQ(List("a"), "a");
}

TEST_F(Find, AnEmptyDirectoryHoldsTheDots) {
  _mkdir("empty");
  EXPECT_EQ(List("empty\\*"), "./*../");
  EXPECT_EQ(List("empty\\*.x"), "none");
  EXPECT_EQ(List("empty\\??"), "../");
}

TEST_F(Find, NamesWithALongCommonBeginningAreOrderedByTheRest) {
  for (const char* name :
       {"common-prefix-10", "common-prefix-9", "common-PREFIX-1", "common-prefix",
        "common-prefix-100000000000b", "common-prefix-100000000000A"}) {
    Write(name, "");
  }
  EXPECT_EQ(List("common*"),
            "common-prefix*common-PREFIX-1*common-prefix-10*common-prefix-100000000000A*"
            "common-prefix-100000000000b*common-prefix-9");
}

TEST_F(Find, NamesAreOrderedByEveryByte) {
  // Alike in all but one place, the rest in the opposite order.
  for (std::size_t place = 0; place < 20; ++place) {
    std::filesystem::create_directory(std::to_string(place));
    const std::string folder = std::to_string(place) + "/";
    const std::string start(place, 'n');
    Write(folder + start + "Y0", "");
    Write(folder + start + "x1", "");
    Write(folder + "zero", "");
    if (place > 0) Write(folder + start, "");
    const std::string found = List((folder + "*").c_str()).substr(std::string("./*../*").size());
    EXPECT_EQ(found, (place > 0 ? start + "*" : "") + start + "x1*" + start + "Y0*zero");
  }
}

TEST_F(Find, AMaskChoosesDirectoriesToo) {
  Write("x.txt", "");
  Write("y.bin", "");
  _mkdir("sub");
  _mkdir("sub.txt");
  EXPECT_EQ(List("*.TXT"), "sub.txt/*x.txt");
}

TEST_F(Find, WhatCannotMatchFails) {
  Write("a", "");
  _mkdir("d");
  for (const char* pattern : {"", "missing", "missing\\*", "a\\*", "d\\", "d/*/", "*/*", "s*\\*",
                              "C:\\*", "\\\\server\\*", "db:\\*"}) {
    EXPECT_EQ(List(pattern), "none") << pattern;
  }
}

TEST_F(Find, WithoutWildcardItFindsTheEntryItself) {
  Write("d/file", "");
  EXPECT_EQ(List("d"), "d/");
  EXPECT_EQ(List("d\\file"), "file");
  EXPECT_EQ(List("d\\."), "d/");
  const std::string own = folder_.substr(folder_.rfind('/') + 1);
  EXPECT_EQ(List("."), own + "/");
  EXPECT_EQ(List("d\\.."), own + "/");
}

TEST_F(Find, TheCurrentDirectoryByItsNameIsNotAnEntryOfThatNameInside) {
  const std::string own = folder_.substr(folder_.rfind('/') + 1);
  Write(own + "/keep", "x");
  WIN32_FIND_DATAA data;
  HANDLE search = FindFirstFileA(".", &data);
  ASSERT_NE(search, INVALID_HANDLE_VALUE);
  EXPECT_EQ(List((".\\" + own).c_str()), "none");
  EXPECT_EQ(List((".\\" + own + "\\*").c_str()), "none");
  EXPECT_EQ(DeleteFileA((".\\" + own + "\\keep").c_str()), 0);
  FindClose(search);
  EXPECT_TRUE(Exists(own + "/keep"));
}

TEST_F(Find, TheSearchShowsWhatWasThereAtItsStart) {
  for (int i = 0; i < 50; ++i) Write("d/" + std::to_string(100 + i), "");
  WIN32_FIND_DATAA data;
  HANDLE search = FindFirstFileA("d\\*", &data);
  int count = 0;
  do {
    if (data.cFileName[0] == '.') continue;
    ++count;
    EXPECT_NE(DeleteFileA((std::string("d\\") + data.cFileName).c_str()), 0);
    Write("d/new" + std::to_string(count), "");
  } while (FindNextFileA(search, &data));
  FindClose(search);
  EXPECT_EQ(count, 50);
}

TEST_F(Find, LinksPipesAndBrokenLinksAreListed) {
  Write("file", "");
  _mkdir("d");
  ASSERT_EQ(symlink("file", "to-file"), 0);
  ASSERT_EQ(symlink("d", "to-dir"), 0);
  ASSERT_EQ(symlink("nothing", "to-nothing"), 0);
  ASSERT_EQ(mkfifo("pipe", 0600), 0);
  EXPECT_EQ(List("*"), "./*../*d/*file*pipe*to-dir/@*to-file@*to-nothing@");
}

TEST_F(Find, NamesMayHoldAnyByte) {
  Write("a\nb", "");
  Write("\xFF\xC3", "");
  Write("with \\ inside", "");
  EXPECT_EQ(List("*"), "./*../*a\nb*with \\ inside*\xFF\xC3");
}

TEST_F(Find, AnEntryWhoseNameHoldsASeparatorCannotBeNamed) {
  Write("tree/x", "");
  Write("outside", "keep");
  Write("tree/sub/inner", "keep");
  ASSERT_EQ(mkdir("tree/..\\evil", 0777), 0);
  Write("tree/sub\\inner", "");
  ASSERT_EQ(symlink("sub", "tree/link\\to"), 0);
  WIN32_FIND_DATAA data;
  HANDLE search = FindFirstFileA("tree\\*", &data);
  ASSERT_NE(search, INVALID_HANDLE_VALUE);
  bool seenFile = false;
  bool seenDirectory = false;
  do {
    if (std::string(data.cFileName) == "sub\\inner") {
      seenFile = true;
      EXPECT_EQ(DeleteFileA("tree\\sub\\inner"), 0);
      EXPECT_EQ(CopyFileA("tree\\sub\\inner", "copy", FALSE), 0);
    }
    if (std::string(data.cFileName) == "link\\to") {
      EXPECT_EQ(data.dwFileAttributes, FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DIRECTORY);
      EXPECT_EQ(RemoveDirectoryA("tree\\link\\to"), 0);
    }
    if (std::string(data.cFileName) == "..\\evil") {
      seenDirectory = true;
      EXPECT_EQ(data.dwFileAttributes, FILE_ATTRIBUTE_DIRECTORY);
      EXPECT_EQ(DeleteFileA("tree\\..\\evil"), 0);
      EXPECT_EQ(RemoveDirectoryA("tree\\..\\evil"), 0);
    }
  } while (FindNextFileA(search, &data));
  FindClose(search);
  EXPECT_TRUE(seenFile);
  EXPECT_TRUE(seenDirectory);
  EXPECT_EQ(Read("tree/sub/inner"), "keep");
  EXPECT_FALSE(Exists("copy"));
}

TEST_F(Find, ReadOnlyFilesAreShownAsSuch) {
  Write("locked", "");
  Write("open", "");
  ASSERT_EQ(chmod("locked", 0444), 0);
  ASSERT_EQ(symlink("locked", "to-locked"), 0);
  WIN32_FIND_DATAA data;
  const std::map<std::string, DWORD> expected = {{"locked", FILE_ATTRIBUTE_READONLY},
                                                 {"open", FILE_ATTRIBUTE_NORMAL},
                                                 {"to-locked", FILE_ATTRIBUTE_REPARSE_POINT}};
  for (const auto& [name, attributes] : expected) {
    HANDLE search = FindFirstFileA((name + "*").c_str(), &data);
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    EXPECT_EQ(data.dwFileAttributes, attributes) << name;
    EXPECT_EQ(data.dwFileAttributes, GetFileAttributesA(name.c_str())) << name;
    FindClose(search);
    Tav_FindTypesOnly(true);
    search = FindFirstFileA((name + "*").c_str(), &data);
    Tav_FindTypesOnly(false);
    EXPECT_EQ(data.dwFileAttributes & FILE_ATTRIBUTE_READONLY, 0u) << "it was not asked for";
    EXPECT_EQ(data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT,
              attributes & FILE_ATTRIBUTE_REPARSE_POINT);
    FindClose(search);
  }
}

TEST_F(Find, AStopEndsASearchWhereverItIs) {
  Write("a", "");
  Write("b", "");
  WIN32_FIND_DATAA data;
  HANDLE search = FindFirstFileA("*", &data);
  stop::Request(stop::Reason::kUser);
  EXPECT_THROW(FindNextFileA(search, &data), stop::Stopped);
  EXPECT_THROW(FindFirstFileA("*", &data), stop::Stopped);
  stop::Clear();
  EXPECT_NE(FindNextFileA(search, &data), 0);
  EXPECT_NE(FindClose(search), 0);
  EXPECT_EQ(List("?"), "./*a*b");
}

TEST_F(Find, ClosingAnInvalidHandleIsHarmless) {
  EXPECT_EQ(FindClose(INVALID_HANDLE_VALUE), 0);
  EXPECT_EQ(FindClose(nullptr), 0);
  WIN32_FIND_DATAA data;
  EXPECT_EQ(FindNextFileA(INVALID_HANDLE_VALUE, &data), 0);
}

TEST_F(Find, OnlyWildcardsPassOverCase) {
  Write("Name", "");
  EXPECT_EQ(List("NAME"), "none");
  EXPECT_EQ(List("N?me"), "Name");
  EXPECT_EQ(List("nAM*"), "Name");
}

TEST_F(Find, BracketsInNamesAndPatternsAreThemselves) {
  Write("[a]", "");
  Write("a", "");
  EXPECT_EQ(List("[a]"), "[a]");
  EXPECT_EQ(List("[a]*"), "[a]");
  EXPECT_EQ(List("?"), "./*a");
}

TEST_F(Find, AnOpenSearchDoesNotKeepItsDirectory) {
  Write("d/a", "");
  Write("d/b", "");
  WIN32_FIND_DATAA data;
  HANDLE search = FindFirstFileA("d\\*", &data);
  EXPECT_NE(DeleteFileA("d\\a"), 0);
  EXPECT_NE(DeleteFileA("d\\b"), 0);
  EXPECT_NE(RemoveDirectoryA("d"), 0);
  std::string names;
  while (FindNextFileA(search, &data)) names += data.cFileName;
  EXPECT_EQ(names, "..ab");
  EXPECT_EQ(FindNextFileA(search, &data), 0) << "the handle is good until it is closed";
  EXPECT_NE(FindClose(search), 0);
  EXPECT_EQ(FindClose(search), 0);
}

TEST_F(Find, TheSearchedDirectoryMayGoMeanwhile) {
  Write("d/file", "");
  WIN32_FIND_DATAA data;
  HANDLE search = FindFirstFileA("d\\*", &data);
  std::filesystem::remove_all("d");
  int count = 1;
  while (FindNextFileA(search, &data)) ++count;
  EXPECT_EQ(count, 3);
  EXPECT_NE(FindClose(search), 0);
}

}  // namespace
