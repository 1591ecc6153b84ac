// What a walk relies on while others change the tree under it.
#include "tavhost/windows/walk.h"

#include <fcntl.h>
#include <sys/resource.h>

#include <vector>

#include "host/windows/directories.h"
#include "host/windows/files.h"
#include "tests/support/scratch_folder.h"

namespace {

class Walk : public ScratchFolder {
 protected:
  static constexpr const char* kDescriptors = "/proc/self/fd";

  void SetUp() override {
    ScratchFolder::SetUp();
    opened_ = CountEntries(kDescriptors);
  }
  // Every search is over and has given its directories back.
  void TearDown() override {
    EXPECT_EQ(CountEntries(kDescriptors), opened_);
    ScratchFolder::TearDown();
  }

  // A search that has returned `name`.
  static HANDLE SearchAt(const char* pattern, const char* name) {
    WIN32_FIND_DATAA data;
    HANDLE search = FindFirstFileA(pattern, &data);
    EXPECT_NE(search, INVALID_HANDLE_VALUE);
    while (std::string(data.cFileName) != name) {
      if (!FindNextFileA(search, &data)) {
        ADD_FAILURE() << "no " << name;
        break;
      }
    }
    return search;
  }

  static void SwapForLink(const std::string& directory, const std::string& target) {
    std::filesystem::rename(directory, directory + "-aside");
    std::filesystem::create_directory_symlink(target, directory);
  }

  int opened_ = 0;
};

TEST_F(Walk, ADirectorySwappedForALinkIsNotEntered) {
  Write("tree/sub/file", "x");
  Write("outside/file", "keep");
  HANDLE search = SearchAt("tree\\*", "sub");
  SwapForLink("tree/sub", folder_ + "/outside");
  WIN32_FIND_DATAA data;
  EXPECT_EQ(FindFirstFileA("tree\\sub\\*", &data), INVALID_HANDLE_VALUE);
  EXPECT_EQ(FindFirstFileA("tree\\sub", &data), INVALID_HANDLE_VALUE);
  EXPECT_EQ(DeleteFileA("tree\\sub\\file"), 0);
  EXPECT_EQ(RemoveDirectoryA("tree\\sub"), 0);
  EXPECT_EQ(CopyFileA("tree\\sub\\file", "copy", FALSE), 0);
  EXPECT_EQ(MoveFileA("tree\\sub\\file", "moved"), 0);
  FindClose(search);
  EXPECT_EQ(Read("outside/file"), "keep");
}

TEST_F(Walk, ADirectorySwappedForAnotherDirectoryIsNotEntered) {
  Write("tree/sub/file", "x");
  Write("outside/file", "keep");
  HANDLE search = SearchAt("tree\\*", "sub");
  std::filesystem::rename("tree/sub", "aside");
  std::filesystem::rename("outside", "tree/sub");
  WIN32_FIND_DATAA data;
  EXPECT_EQ(FindFirstFileA("tree\\sub\\*", &data), INVALID_HANDLE_VALUE);
  EXPECT_EQ(DeleteFileA("tree\\sub\\file"), 0);
  FindClose(search);
  EXPECT_EQ(Read("tree/sub/file"), "keep");
}

TEST_F(Walk, ASwapAfterTheInnerSearchBeganChangesNothingOutside) {
  Write("tree/sub/file", "x");
  Write("outside/file", "keep");
  HANDLE outer = SearchAt("tree\\*", "sub");
  HANDLE inner = SearchAt("tree\\sub\\*", "file");
  SwapForLink("tree/sub", folder_ + "/outside");
  // The file goes where the search found it.
  EXPECT_NE(DeleteFileA("tree\\sub\\file"), 0);
  FindClose(inner);
  EXPECT_EQ(RemoveDirectoryA("tree\\sub"), 0);
  FindClose(outer);
  EXPECT_EQ(Read("outside/file"), "keep");
  EXPECT_FALSE(Exists("tree/sub-aside/file"));
}

TEST_F(Walk, AMadeTargetDirectorySwappedForALinkIsNotFilled) {
  Write("tree/sub/file", "x");
  _mkdir("to");
  _mkdir("outside");
  HANDLE outer = SearchAt("tree\\*", "sub");
  EXPECT_NE(CreateDirectoryA("to\\sub", nullptr), 0);
  SwapForLink("to/sub", folder_ + "/outside");
  EXPECT_EQ(GetFileAttributesA("to\\sub"), INVALID_FILE_ATTRIBUTES);
  EXPECT_EQ(CopyFileA("tree\\sub\\file", "to\\sub\\file", FALSE), 0);
  EXPECT_EQ(CreateDirectoryA("to\\sub\\deeper", nullptr), 0);
  FindClose(outer);
  EXPECT_EQ(CountEntries("outside"), 0);
}

TEST_F(Walk, ALinkWhereADirectoryIsToBeMadeIsNotFilled) {
  Write("tree/sub/file", "x");
  _mkdir("to");
  _mkdir("outside");
  std::filesystem::create_directory_symlink("../outside", "to/sub");
  HANDLE outer = SearchAt("tree\\*", "sub");
  EXPECT_EQ(CreateDirectoryA("to\\sub", nullptr), 0);
  EXPECT_EQ(GetFileAttributesA("to\\sub"), INVALID_FILE_ATTRIBUTES);
  EXPECT_EQ(CopyFileA("tree\\sub\\file", "to\\sub\\file", FALSE), 0);
  EXPECT_EQ(CopyFileA("tree\\sub\\file", "to\\sub", FALSE), 0);
  FindClose(outer);
  EXPECT_EQ(CountEntries("outside"), 0);
  EXPECT_TRUE(std::filesystem::is_symlink("to/sub"));
}

TEST_F(Walk, ATargetSwappedForALinkAfterTheFirstFileIsNotFilled) {
  Write("tree/a", "1");
  Write("tree/b", "2");
  Write("outside/b", "keep");
  _mkdir("to");
  for (const std::string& target : {std::string("to"), folder_ + "/to"}) {
    HANDLE search = SearchAt("tree\\*", "a");
    EXPECT_NE(CopyFileA("tree\\a", (target + "\\a").c_str(), FALSE), 0);
    SwapForLink("to", folder_ + "/outside");
    CopyFileA("tree\\b", (target + "\\b").c_str(), FALSE);
    EXPECT_EQ(CreateDirectoryA((target + "\\made").c_str(), nullptr), 1);
    FindClose(search);
    EXPECT_EQ(Read("outside/b"), "keep");
    EXPECT_EQ(CountEntries("outside"), 1);
    EXPECT_EQ(Read("to-aside/b"), "2");
    std::filesystem::remove("to");
    std::filesystem::remove_all("to-aside");
    _mkdir("to");
  }
}

TEST_F(Walk, ATreeIsNotCopiedIntoItself) {
  Write("tree/sub/deep/file", "x");
  symlink("tree/sub", "alias");
  HANDLE search = SearchAt("tree", "tree");
  for (const char* target : {"tree\\tree", "tree\\sub\\tree", "tree\\sub\\deep\\tree",
                             "alias\\tree", "alias\\deep\\tree"}) {
    EXPECT_EQ(CreateDirectoryA(target, nullptr), 0) << target;
    EXPECT_FALSE(Exists(target));
    EXPECT_EQ(GetFileAttributesA(target), INVALID_FILE_ATTRIBUTES) << target;
  }
  EXPECT_NE(CreateDirectoryA("beside", nullptr), 0);
  EXPECT_NE(CreateDirectoryA("beside\\tree", nullptr), 0);
  FindClose(search);
  EXPECT_NE(CreateDirectoryA("tree\\tree", nullptr), 0);
}

TEST_F(Walk, AClosedSearchRemembersNothing) {
  Write("tree/sub/file", "x");
  HANDLE search = SearchAt("tree\\*", "sub");
  SwapForLink("tree/sub", folder_ + "/tree/sub-aside");
  EXPECT_EQ(DeleteFileA("tree\\sub\\file"), 0);
  WIN32_FIND_DATAA data;
  EXPECT_EQ(FindFirstFileA("tree\\sub\\*", &data), INVALID_HANDLE_VALUE) << "not by a link either";
  FindClose(search);
  EXPECT_NE(DeleteFileA("tree\\sub\\file"), 0);
}

TEST_F(Walk, WhatWasMadeForAnEntryIsForgottenAtTheNext) {
  Write("tree/a/file", "x");
  Write("tree/b/file", "y");
  _mkdir("to");
  HANDLE search = SearchAt("tree\\*", "a");
  EXPECT_NE(CreateDirectoryA("to\\a", nullptr), 0);
  std::filesystem::rename("to/a", "aside");
  std::filesystem::create_directory("to/a");
  EXPECT_EQ(CopyFileA("tree\\a\\file", "to\\a\\file", FALSE), 0);
  WIN32_FIND_DATAA data;
  EXPECT_NE(FindNextFileA(search, &data), 0);
  EXPECT_NE(CopyFileA("tree\\b\\file", "to\\a\\file", FALSE), 0);
  FindClose(search);
  EXPECT_EQ(Read("to/a/file"), "y");
  EXPECT_EQ(CountEntries("aside"), 0);
}

TEST_F(Walk, TheCurrentDirectoryMayChangeUnderASearch) {
  Write("tree/sub/file", "x");
  Write("other/tree/sub/file", "y");
  HANDLE search = SearchAt("tree\\*", "sub");
  ASSERT_EQ(_chdir("other"), 0);
  EXPECT_NE(DeleteFileA("tree\\sub\\file"), 0);
  EXPECT_FALSE(Exists("tree/sub/file"));
  ASSERT_EQ(_chdir(".."), 0);
  FindClose(search);
  EXPECT_EQ(Read("tree/sub/file"), "x");
}

TEST_F(Walk, ACallKeepsBothItsDirectoriesHoweverManyAreOpen) {
  Write("src/file", "x");
  _mkdir("to");
  std::vector<HANDLE> searches;
  std::string path = "src";
  int copies = 0;
  for (int level = 0; level < 200; ++level) {
    std::filesystem::create_directory(path + "/d");
    searches.push_back(SearchAt((path + "\\*").c_str(), "d"));
    path += "/d";
    for (int i = 0; i < level % 3; ++i) {
      const std::string made = "to\\" + std::to_string(++copies);
      ASSERT_NE(CreateDirectoryA(made.c_str(), nullptr), 0);
      EXPECT_NE(CopyFileA("src\\file", (made + "\\copy").c_str(), TRUE), 0) << level;
    }
  }
  while (!searches.empty()) {
    FindClose(searches.back());
    searches.pop_back();
  }
  EXPECT_EQ(CountEntries("to"), 2 * copies);
}

TEST_F(Walk, ACopyOfADirectoryIsItsOwnersAloneUntilItTakesTheOriginalsLook) {
  const mode_t mask = umask(0);
  Write("tree/sub/file", "x");
  Write("tree/zoo/file", "x");
  _mkdir("to");
  const struct timespec long_ago[2] = {{0, UTIME_OMIT}, {1'000'000'000, 5}};
  for (const mode_t mode : {0700, 0750, 0555, 01777}) {
    ASSERT_EQ(chmod("tree/sub", mode), 0);
    ASSERT_EQ(utimensat(AT_FDCWD, "tree/sub", long_ago, 0), 0);
    struct stat status;
    WIN32_FIND_DATAA data;
    HANDLE search = SearchAt("tree\\*", "sub");
    ASSERT_NE(CreateDirectoryA("to\\sub", nullptr), 0);
    ASSERT_EQ(stat("to/sub", &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0700u);
    ASSERT_NE(CreateDirectoryA("to\\other", nullptr), 0);
    ASSERT_EQ(stat("to/other", &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0777u) << "it is the copy of nothing";
    EXPECT_NE(CopyFileA("tree\\sub\\file", "to\\sub\\file", FALSE), 0);
    ASSERT_NE(FindNextFileA(search, &data), 0);
    ASSERT_EQ(stat("to/sub", &status), 0);
    EXPECT_EQ(status.st_mode & 07777, mode);
    EXPECT_EQ(status.st_mtim.tv_sec, long_ago[1].tv_sec);
    EXPECT_EQ(status.st_mtim.tv_nsec, long_ago[1].tv_nsec);
    FindClose(search);
    chmod("tree/sub", 0755);
    chmod("to/sub", 0755);
    std::filesystem::remove_all("to/sub");
    std::filesystem::remove_all("to/other");
  }
  umask(mask);
}

TEST_F(Walk, ADirectoryThatIsThereKeepsItsOwnLook) {
  Write("tree/sub/file", "x");
  _mkdir("to");
  _mkdir("to\\sub");
  ASSERT_EQ(chmod("to/sub", 0750), 0);
  HANDLE search = SearchAt("tree\\*", "sub");
  EXPECT_EQ(CreateDirectoryA("to\\sub", nullptr), 0);
  FindClose(search);
  struct stat status;
  ASSERT_EQ(stat("to/sub", &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0750u);
}

// A text in which a command writes its paths, and of which it has told how it begins. What stands
// there is not read: here it would lead nowhere.
class ToldText {
 public:
  ToldText() { text_.reserve(1000); }

  static constexpr std::size_t BeginningLength() { return kBeginning.size(); }
  // Good until the next.
  const char* Path(const char* rest) {
    text_.resize(kBeginning.size());
    return text_.append(rest).c_str();
  }

 private:
  static constexpr std::string_view kBeginning = "nowhere\\sub\\";
  std::string text_{kBeginning};
};

TEST_F(Walk, PathsCountFromWhereTheCommandToldThatItStands) {
  Write("tree/sub/file", "x");
  Write("tree/sub/deep/inner", "y");
  Write("tree/.hidden", "z");
  Write("beside", "b");
  _mkdir("to");
  ToldText source;
  ToldText target;
  HANDLE outer = SearchAt("tree\\*", "sub");
  ASSERT_NE(CreateDirectoryA("to\\sub", nullptr), 0);
  Tav_StandAt(outer, source.Path(""), source.BeginningLength(), nullptr, 0);
  EXPECT_EQ(GetFileAttributesA(source.Path("sub")), FILE_ATTRIBUTE_DIRECTORY);
  EXPECT_EQ(GetFileAttributesA(source.Path("/.hidden")), FILE_ATTRIBUTE_NORMAL);
  EXPECT_EQ(GetFileAttributesA(source.Path("sub\\deep/inner")), FILE_ATTRIBUTE_NORMAL);
  EXPECT_EQ(GetFileAttributesA(source.Path("none")), INVALID_FILE_ATTRIBUTES);
  EXPECT_EQ(GetFileAttributesA(source.Path("s?b")), INVALID_FILE_ATTRIBUTES);
  EXPECT_EQ(GetFileAttributesA(source.Path("../../beside")), FILE_ATTRIBUTE_NORMAL)
      << "what leads out is read whole";
  EXPECT_EQ(GetFileAttributesA(std::string(source.Path("sub")).c_str()), INVALID_FILE_ATTRIBUTES)
      << "at another address it is another path";
  HANDLE inner = SearchAt(source.Path("sub\\*"), "deep");
  Tav_StandAt(inner, source.Path(""), source.BeginningLength(), target.Path(""),
              target.BeginningLength());
  EXPECT_NE(CopyFileA(source.Path("file"), target.Path("file"), FALSE), 0);
  EXPECT_NE(CreateDirectoryA(target.Path("deep"), nullptr), 0);
  EXPECT_NE(MoveFileA(source.Path("deep\\inner"), target.Path("deep\\inner")), 0);
  EXPECT_NE(RemoveDirectoryA(source.Path("deep")), 0);
  EXPECT_EQ(Read("to/sub/file"), "x");
  EXPECT_EQ(Read("to/sub/deep/inner"), "y");
  EXPECT_FALSE(Exists("tree/sub/deep"));
  FindClose(inner);
  EXPECT_EQ(DeleteFileA(source.Path("file")), 0) << "with the search all is over that was told";
  EXPECT_NE(DeleteFileA("tree\\sub\\file"), 0);
  FindClose(outer);
}

TEST_F(Walk, WhereTheCommandStandsASwapIsSeenAsEver) {
  Write("tree/sub/file", "x");
  Write("outside/file", "keep");
  _mkdir("to");
  ToldText source;
  ToldText target;
  HANDLE outer = SearchAt("tree\\*", "sub");
  Tav_StandAt(outer, source.Path(""), source.BeginningLength(), nullptr, 0);
  SwapForLink("tree/sub", folder_ + "/outside");
  WIN32_FIND_DATAA data;
  EXPECT_EQ(FindFirstFileA(source.Path("sub\\*"), &data), INVALID_HANDLE_VALUE);
  EXPECT_EQ(FindFirstFileA(source.Path("sub"), &data), INVALID_HANDLE_VALUE);
  EXPECT_EQ(DeleteFileA(source.Path("sub\\file")), 0);
  EXPECT_EQ(RemoveDirectoryA(source.Path("sub")), 0);
  std::filesystem::remove("tree/sub");
  std::filesystem::rename("tree/sub-aside", "tree/sub");
  ASSERT_NE(CreateDirectoryA("to\\sub", nullptr), 0);
  HANDLE inner = SearchAt(source.Path("sub\\*"), "file");
  Tav_StandAt(inner, source.Path(""), source.BeginningLength(), target.Path(""),
              target.BeginningLength());
  SwapForLink("tree/sub", folder_ + "/outside");
  EXPECT_NE(CopyFileA(source.Path("file"), target.Path("first"), FALSE), 0);
  SwapForLink("to/sub", folder_ + "/outside");
  EXPECT_NE(CopyFileA(source.Path("file"), target.Path("second"), FALSE), 0);
  FindClose(inner);
  FindClose(outer);
  EXPECT_EQ(Read("to/sub-aside/first"), "x");
  EXPECT_EQ(Read("to/sub-aside/second"), "x");
  EXPECT_EQ(CountEntries("outside"), 1);
  EXPECT_EQ(Read("outside/file"), "keep");
}

// Removes a tree as the commands do.
bool RemoveTree(const std::string& pattern, const std::string& directory) {
  WIN32_FIND_DATAA data;
  HANDLE search = FindFirstFileA(pattern.c_str(), &data);
  if (search == INVALID_HANDLE_VALUE) return false;
  bool success = true;
  do {
    const std::string name = data.cFileName;
    if (name == "." || name == "..") continue;
    const std::string path = directory + "\\" + name;
    if ((data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
      success = DeleteFileA(path.c_str()) != 0;
    } else {
      success = RemoveTree(path + "\\*", path) && RemoveDirectoryA(path.c_str()) != 0;
    }
  } while (success && FindNextFileA(search, &data));
  FindClose(search);
  return success;
}

TEST_F(Walk, GoesDeeperThanDescriptorsAndPathsReach) {
  struct rlimit before;
  getrlimit(RLIMIT_NOFILE, &before);
  struct rlimit few = before;
  few.rlim_cur = 64;
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
  std::string path = "deep";
  ASSERT_EQ(_mkdir(path.c_str()), 0);
  for (int level = 0; level < 1500; ++level) {
    path += "\\level";
    ASSERT_EQ(_mkdir(path.c_str()), 0) << level;
  }
  EXPECT_TRUE(RemoveTree("deep", "."));
  setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_FALSE(Exists("deep"));
}

}  // namespace
