// A copy or a move heeds every error that the system reports. Functions of the system are replaced
// here by this test's own, which fail when the test wants it and otherwise pass on to the system's.
#include "tavhost/windows/safe_copy.h"

#include <dlfcn.h>
#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

#include "host/files/file_manager.h"
#include "host/windows/files.h"
#include "tavhost/base/command_end.h"
#include "tavhost/files/database_area.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/second_file_system_posix.h"

namespace {

bool closingFails = false;  // of files open for writing
bool syncingFails = false;
int synced = 0;
// What was put on the disk, by its path, and what was removed, by its name.
std::vector<std::string> events;
bool canRename = true;  // without replacing, in one call
std::string kept;       // a name that cannot be removed

template <typename Function>
Function* Next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" int close(int file) {
  static auto* const next = Next<int(int)>("close");
  const bool fails = closingFails && (fcntl(file, F_GETFL) & O_ACCMODE) != O_RDONLY;
  const int result = next(file);
  if (!fails) return result;
  errno = EIO;
  return -1;
}

// No test needs what it writes to survive a loss of power.
extern "C" int fsync(int file) {
  ++synced;
  std::error_code none;
  events.push_back(
      "keep " +
      std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(file), none).string());
  if (!syncingFails) return 0;
  errno = EIO;
  return -1;
}

extern "C" int renameat2(int fromFolder, const char* from, int toFolder, const char* to,
                         unsigned flags) noexcept {
  static auto* const next = Next<int(int, const char*, int, const char*, unsigned)>("renameat2");
  if (canRename) return next(fromFolder, from, toFolder, to, flags);
  errno = EINVAL;
  return -1;
}

extern "C" int unlinkat(int folder, const char* name, int flags) noexcept {
  static auto* const next = Next<int(int, const char*, int)>("unlinkat");
  events.push_back(std::string("remove ") + name);
  if (kept.empty() || kept != name) return next(folder, name, flags);
  errno = EIO;
  return -1;
}

namespace {

class SafeCopy : public ScratchFolder {
 protected:
  void TearDown() override {
    closingFails = syncingFails = false;
    canRename = true;
    kept.clear();
    database_area::SetFolder("");
    ScratchFolder::TearDown();
  }
};

TEST_F(SafeCopy, ACopyThatCannotBeClosedLeavesTheTarget) {
  Write("from", "new");
  Write("to", "old");
  closingFails = true;
  EXPECT_EQ(CopyFileA("from", "to", FALSE), 0);
  EXPECT_EQ(CopyFileA("from", "absent", TRUE), 0);
  EXPECT_FALSE(TavFileManager::fileCopy("from", "to", -1, -1, false));
  closingFails = false;
  EXPECT_EQ(Read("to"), "old");
  EXPECT_EQ(CountEntries("."), 2);
}

TEST_F(SafeCopy, AFileOfTheDatabaseAreaThatCannotBeClosedLeavesTheOldOne) {
  database_area::SetFolder(folder_ + "/area");
  Write("area/0/x", "old");
  TavFileHandle handle = TavFileManager::fileOpenWrite("db:\\x", 2, -1);
  EXPECT_EQ(TavFileManager::fileWrite(handle, "new", 3), 3);
  closingFails = true;
  EXPECT_THROW(TavFileManager::fileClose(handle), command_end::Failure);
  closingFails = false;
  EXPECT_EQ(Read("area/0/x"), "old");
  EXPECT_EQ(CountEntries("area/0"), 1);
}

TEST_F(SafeCopy, AFileOfTheDatabaseAreaIsOnTheDiskBeforeItIsToldToBeStored) {
  database_area::SetFolder(folder_ + "/area");
  Write("area/0/x", "old");
  Write("from", "copied");
  synced = 0;
  TavFileHandle handle = TavFileManager::fileOpenWrite("db:\\x", 2, -1);
  EXPECT_EQ(TavFileManager::fileWrite(handle, "new", 3), 3);
  EXPECT_EQ(synced, 0);
  EXPECT_TRUE(TavFileManager::fileClose(handle));
  EXPECT_EQ(synced, 2) << "the file, and the folder that has its name";
  EXPECT_TRUE(TavFileManager::fileCopy("from", "db:\\x", -1, -1, false));
  EXPECT_EQ(synced, 4);
  handle = TavFileManager::fileOpenWrite("db:\\x", 2, -1);
  EXPECT_EQ(TavFileManager::fileWrite(handle, "newer", 5), 5);
  syncingFails = true;
  EXPECT_THROW(TavFileManager::fileClose(handle), command_end::Failure);
  EXPECT_FALSE(TavFileManager::fileCopy("area/0/x", "db:\\x", -1, -1, false));
  syncingFails = false;
  EXPECT_EQ(Read("area/0/x"), "copied");
  EXPECT_EQ(CountEntries("area/0"), 1);
}

TEST_F(SafeCopy, AMoveToAnotherFileSystemIsOnTheDiskBeforeTheSourceGoes) {
  const SecondFileSystem other;
  if (!other.IsThere()) GTEST_SKIP() << "no second file system here";
  const std::string to = other.Folder() + "/to";
  Write("a", "contents");
  synced = 0;
  syncingFails = true;
  EXPECT_EQ(MoveFileA("a", to.c_str()), 0);
  EXPECT_EQ(synced, 1);
  EXPECT_EQ(Read("a"), "contents");
  EXPECT_EQ(CountEntries(other.Folder()), 0);
  syncingFails = false;
  EXPECT_NE(MoveFileA("a", to.c_str()), 0);
  EXPECT_EQ(synced, 3) << "the file, and the folder that has its name";
  EXPECT_EQ(Read(to), "contents");
}

TEST_F(SafeCopy, TheFoldersOfATreeThatMovesAreOnTheDiskBeforeWhatWasInThemGoes) {
  const SecondFileSystem other;
  if (!other.IsThere()) GTEST_SKIP() << "no second file system here";
  Write("tree/sub/a", "1");
  Write("tree/sub/b", "2");
  std::filesystem::create_directory("tree/sub/empty");
  const std::string& to = other.Folder();
  const auto indexOf = [](const std::string& event) {
    return std::find(events.begin(), events.end(), event) - events.begin();
  };
  events.clear();
  WIN32_FIND_DATAA data;
  HANDLE outer = FindFirstFileA("tree", &data);
  ASSERT_NE(CreateDirectoryA((to + "/tree").c_str(), nullptr), 0);
  HANDLE middle = FindFirstFileA("tree\\sub*", &data);
  ASSERT_NE(CreateDirectoryA((to + "/tree/sub").c_str(), nullptr), 0);
  HANDLE inner = FindFirstFileA("tree\\sub\\a", &data);
  ASSERT_NE(MoveFileA("tree\\sub\\a", (to + "/tree/sub/a").c_str()), 0);
  for (const char* folder : {"", "/tree", "/tree/sub"}) {
    EXPECT_LT(indexOf("keep " + to + folder), indexOf("remove tree/sub/a")) << folder;
  }
  FindClose(inner);
  events.clear();
  inner = FindFirstFileA("tree\\sub\\*", &data);
  ASSERT_NE(MoveFileA("tree\\sub\\b", (to + "/tree/sub/b").c_str()), 0);
  EXPECT_EQ(events.size(), 3u) << "the folders are there already, but for the file's own";
  while (std::string(data.cFileName) != "empty") ASSERT_NE(FindNextFileA(inner, &data), 0);
  ASSERT_NE(CreateDirectoryA((to + "/tree/sub/empty").c_str(), nullptr), 0);
  events.clear();
  ASSERT_NE(RemoveDirectoryA("tree\\sub\\empty"), 0);
  EXPECT_EQ(events.size(), 3u);
  EXPECT_LT(indexOf("keep " + to + "/tree/sub/empty"), 2);
  EXPECT_LT(indexOf("keep " + to + "/tree/sub"), 2);
  FindClose(inner);
  events.clear();
  syncingFails = true;
  EXPECT_EQ(RemoveDirectoryA("tree\\sub"), 0);
  EXPECT_TRUE(Exists("tree/sub"));
  syncingFails = false;
  FindClose(middle);
  FindClose(outer);
}

TEST_F(SafeCopy, AMoveToAnotherFileSystemKeepsWhatTheFileIs) {
  const SecondFileSystem other;
  if (!other.IsThere()) GTEST_SKIP() << "no second file system here";
  const bool isRoot = geteuid() == 0;
  const std::string to = other.Folder() + "/to";
  const std::string toLink = other.Folder() + "/link";
  Write("a", "contents");
  ASSERT_EQ(symlink("a", "link"), 0);
  const struct timespec times[2] = {{1000, 5}, {2000, 7}};
  for (const char* name : {"a", "link"}) {
    if (isRoot) {
      ASSERT_EQ(lchown(name, 65534, 65533), 0);
    }
    ASSERT_EQ(utimensat(AT_FDCWD, name, times, AT_SYMLINK_NOFOLLOW), 0);
  }
  chmod("a", 0464);
  EXPECT_NE(MoveFileA("a", to.c_str()), 0);
  EXPECT_NE(MoveFileA("link", toLink.c_str()), 0);
  for (const std::string& name : {to, toLink}) {
    struct stat moved;
    ASSERT_EQ(lstat(name.c_str(), &moved), 0);
    EXPECT_EQ(moved.st_mtim.tv_sec, 2000);
    EXPECT_EQ(moved.st_mtim.tv_nsec, 7);
    EXPECT_EQ(moved.st_atim.tv_sec, 1000);
    if (isRoot) {
      EXPECT_EQ(moved.st_uid, 65534u);
      EXPECT_EQ(moved.st_gid, 65533u);
    }
  }
  struct stat moved;
  EXPECT_EQ(stat(to.c_str(), &moved), 0);
  EXPECT_EQ(moved.st_mode & 07777, 0464u);
  EXPECT_FALSE(Exists("a"));
}

TEST_F(SafeCopy, WhatIsReplacedKeepsItsModeAndOwner) {
  const bool isRoot = geteuid() == 0;
  for (const bool withAttributes : {false, true}) {
    Write("from", "new");
    Write("private", "old");
    chmod("from", 0644);
    chmod("private", 0600);
    if (isRoot) {
      ASSERT_EQ(chown("private", 65534, 65533), 0);
    }
    EXPECT_TRUE(TavFileManager::fileCopy("from", "private", -1, -1, withAttributes));
    struct stat copied;
    ASSERT_EQ(stat("private", &copied), 0);
    EXPECT_EQ(copied.st_mode & 07777, 0600u);
    if (isRoot) {
      EXPECT_EQ(copied.st_uid, 65534u);
      EXPECT_EQ(copied.st_gid, 65533u);
    }
    EXPECT_EQ(Read("private"), "new");
  }
  chmod("from", 0444);
  EXPECT_TRUE(TavFileManager::fileCopy("from", "private", -1, -1, true));
  struct stat copied;
  ASSERT_EQ(stat("private", &copied), 0);
  EXPECT_EQ(copied.st_mode & 07777, 0400u) << "read-only as well, and as private as before";
}

TEST_F(SafeCopy, HolesStayHoles) {
  constexpr std::int64_t kMost = 512 << 10;  // bytes on the disk
  Write("from", "begin");
  std::filesystem::resize_file("from", 2u << 20);
  {
    std::fstream file("from", std::ios::in | std::ios::out | std::ios::binary);
    file.seekp((1 << 20) + 5);
    file << "middle";
    file.seekp((2 << 20) - 3);
    file << "end";
  }
  struct stat from;
  ASSERT_EQ(stat("from", &from), 0);
  if (from.st_blocks * 512 > kMost) GTEST_SKIP() << "this file system has no holes";
  for (const std::int64_t size : {2 << 20, 3 << 20}) {
    std::filesystem::resize_file("from", static_cast<std::uintmax_t>(size));  // a hole at the end
    EXPECT_TRUE(TavFileManager::fileCopy("from", "to", -1, -1, false));
    struct stat to;
    ASSERT_EQ(stat("to", &to), 0);
    EXPECT_EQ(to.st_size, size);
    EXPECT_LT(to.st_blocks * 512, kMost);
    EXPECT_TRUE(Read("from") == Read("to"));
  }
}

TEST_F(SafeCopy, AFileSystemThatCannotRenameWithoutReplacingDoesNotReplaceEither) {
  Write("a", "1");
  Write("b", "2");
  symlink("a", "link");
  canRename = false;
  EXPECT_EQ(MoveFileA("a", "b"), 0);
  EXPECT_EQ(CopyFileA("a", "b", TRUE), 0);
  EXPECT_EQ(Read("a"), "1");
  EXPECT_EQ(Read("b"), "2");
  EXPECT_NE(MoveFileA("a", "c"), 0);
  EXPECT_FALSE(Exists("a"));
  EXPECT_EQ(Read("c"), "1");
  EXPECT_NE(CopyFileA("c", "d", TRUE), 0);
  EXPECT_NE(CopyFileA("c", "b", FALSE), 0);
  EXPECT_NE(MoveFileA("link", "link2"), 0);
  EXPECT_TRUE(std::filesystem::is_symlink("link2"));
  EXPECT_EQ(Read("b") + Read("d"), "11");
  EXPECT_EQ(CountEntries("."), 4);
}

TEST_F(SafeCopy, AMoveThatCannotRemoveTheSourceLeavesNoSecondName) {
  Write("a", "1");
  canRename = false;
  kept = "a";
  EXPECT_EQ(MoveFileA("a", "b"), 0);
  EXPECT_EQ(Read("a"), "1");
  EXPECT_FALSE(Exists("b"));
}

}  // namespace
