#include "host/windows/files.h"

#include <fcntl.h>

#include <type_traits>

#include "host/windows/directories.h"
#include "tavhost/windows/open_files.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/second_file_system_posix.h"

namespace {

// As wide as they are on Windows, whatever `long` is here.
static_assert(sizeof(DWORD) == 4 && std::is_unsigned_v<DWORD>);
static_assert(sizeof(BOOL) == 4 && sizeof(UINT) == 4 && sizeof(LRESULT) == 8);
static_assert(INVALID_FILE_ATTRIBUTES == 0xFFFFFFFFu);

class Files : public ScratchFolder {};

windows::FileId IdOfFile(const char* path) {
  struct stat status;
  EXPECT_EQ(stat(path, &status), 0);
  return windows::IdOf(status);
}

TEST_F(Files, AttributesTellDirectoriesLinksAndReadOnlyFiles) {
  Write("file", "");
  Write("locked", "");
  chmod("locked", 0444);
  _mkdir("d");
  symlink("d", "to-dir");
  symlink("none", "to-none");
  EXPECT_EQ(GetFileAttributesA("file"), FILE_ATTRIBUTE_NORMAL);
  EXPECT_EQ(GetFileAttributesA("locked"), FILE_ATTRIBUTE_READONLY);
  EXPECT_EQ(GetFileAttributesA("d"), FILE_ATTRIBUTE_DIRECTORY);
  EXPECT_EQ(GetFileAttributesA("d\\"), FILE_ATTRIBUTE_DIRECTORY);
  EXPECT_EQ(GetFileAttributesA("to-dir"), FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT);
  EXPECT_EQ(GetFileAttributesA("to-none"), FILE_ATTRIBUTE_REPARSE_POINT);
  EXPECT_EQ(GetFileAttributesA("/"), FILE_ATTRIBUTE_DIRECTORY);
  for (const char* path : {"", "missing", "file\\", "fil*", "C:\\", "file\\x", "\\\\a\\b"}) {
    EXPECT_EQ(GetFileAttributesA(path), INVALID_FILE_ATTRIBUTES) << path;
  }
}

TEST_F(Files, NoFunctionTakesWhatNamesNothing) {
  Write("d/file", "x");
  const int before = CountEntries(".");
  for (const char* path :
       {"", "C:\\x", "c:file", "\\\\d\\file", "//d/file", "db:\\file", "d/f*", "?", "d*\\file"}) {
    EXPECT_EQ(GetFileAttributesA(path), INVALID_FILE_ATTRIBUTES) << path;
    EXPECT_EQ(DeleteFileA(path), 0) << path;
    EXPECT_EQ(CreateDirectoryA(path, nullptr), 0) << path;
    EXPECT_EQ(RemoveDirectoryA(path), 0) << path;
    EXPECT_EQ(CopyFileA(path, "copy", FALSE), 0) << path;
    EXPECT_EQ(CopyFileA("d/file", path, FALSE), 0) << path;
    EXPECT_EQ(MoveFileA(path, "moved"), 0) << path;
    EXPECT_EQ(MoveFileA("d/file", path), 0) << path;
    EXPECT_EQ(_chdir(path), -1) << path;
    EXPECT_EQ(_mkdir(path), -1) << path;
    EXPECT_EQ(_rmdir(path), -1) << path;
  }
  EXPECT_EQ(CountEntries("."), before);
  EXPECT_EQ(Read("d/file"), "x");
}

TEST_F(Files, PathsAreTakenInTheTextBeforeTheSystemSeesThem) {
  Write("d/file", "x");
  EXPECT_EQ(GetFileAttributesA("none\\..\\d\\\\file"), FILE_ATTRIBUTE_NORMAL);
  EXPECT_NE(CreateDirectoryA("d\\\\sub//", nullptr), 0);
  EXPECT_NE(CopyFileA("none/../d/file", "d\\\\sub\\.\\copy", TRUE), 0);
  EXPECT_NE(MoveFileA("d\\sub\\none\\..\\copy", "d/none/../moved"), 0);
  EXPECT_EQ(Read("d/moved"), "x");
  EXPECT_NE(DeleteFileA("d/\\/moved"), 0);
  EXPECT_EQ(_chdir("d\\none\\..\\sub"), 0);
  EXPECT_EQ(_chdir("..\\.."), 0);
  EXPECT_NE(RemoveDirectoryA("d\\sub\\none\\.."), 0);
  EXPECT_FALSE(Exists("d/sub"));
}

TEST_F(Files, NamesAreFoundAsTheyAreStored) {
  Write("Name", "1");
  Write("dot", "2");
  Write("dot.", "3");
  Write("blank ", "4");
  EXPECT_EQ(GetFileAttributesA("NAME"), INVALID_FILE_ATTRIBUTES);
  EXPECT_EQ(DeleteFileA("name"), 0);
  EXPECT_NE(DeleteFileA("dot."), 0);
  EXPECT_EQ(Read("dot"), "2");
  EXPECT_EQ(GetFileAttributesA("blank"), INVALID_FILE_ATTRIBUTES);
  EXPECT_NE(MoveFileA("blank ", "dot."), 0);
  EXPECT_EQ(Read("dot."), "4");
}

TEST_F(Files, DirectoriesGetThePermissionsThatTheMaskLeaves) {
  const mode_t before = umask(027);
  EXPECT_NE(CreateDirectoryA("d", nullptr), 0);
  umask(0);
  EXPECT_EQ(_mkdir("e"), 0);
  umask(before);
  struct stat status;
  stat("d", &status);
  EXPECT_EQ(status.st_mode & 07777, 0750u);
  stat("e", &status);
  EXPECT_EQ(status.st_mode & 07777, 0777u);
}

TEST_F(Files, DeleteRefusesWhatWindowsRefuses) {
  Write("file", "");
  Write("locked", "");
  Write("held", "");
  chmod("locked", 0444);
  _mkdir("d");
  EXPECT_EQ(DeleteFileA("locked"), 0);
  EXPECT_EQ(DeleteFileA("d"), 0);
  EXPECT_EQ(DeleteFileA("missing"), 0);
  EXPECT_EQ(DeleteFileA("file\\"), 0);
  EXPECT_EQ(DeleteFileA("f*"), 0);
  const auto held = IdOfFile("held");
  windows::RememberOpenFile(held);
  EXPECT_EQ(DeleteFileA("held"), 0);
  windows::ForgetOpenFile(held);
  EXPECT_NE(DeleteFileA("held"), 0);
  EXPECT_NE(DeleteFileA(".\\file"), 0);
  EXPECT_FALSE(Exists("file"));
}

TEST_F(Files, DeleteRemovesTheLinkNotItsTarget) {
  Write("target", "x");
  Write("d/inside", "x");
  symlink("target", "link");
  symlink("d", "dir-link");
  EXPECT_NE(DeleteFileA("link"), 0);
  EXPECT_NE(RemoveDirectoryA("dir-link"), 0);
  symlink("d", "dir-link");
  symlink("target", "file-link");
  rename("d", "e");  // a link keeps its nature when what it leads to has gone before it
  EXPECT_NE(RemoveDirectoryA("dir-link"), 0);
  EXPECT_EQ(RemoveDirectoryA("file-link"), 0);
  rename("e", "d");
  EXPECT_TRUE(Exists("target"));
  EXPECT_TRUE(Exists("d/inside"));
}

TEST_F(Files, DirectoriesAreMadeOneLevelAndRemovedWhenEmpty) {
  EXPECT_NE(CreateDirectoryA("d\\", nullptr), 0);
  EXPECT_EQ(CreateDirectoryA("d", nullptr), 0);
  EXPECT_EQ(CreateDirectoryA("no\\parent", nullptr), 0);
  EXPECT_EQ(CreateDirectoryA("", nullptr), 0);
  Write("file", "");
  EXPECT_EQ(CreateDirectoryA("file", nullptr), 0);
  EXPECT_EQ(RemoveDirectoryA("file"), 0);
  EXPECT_EQ(RemoveDirectoryA("missing"), 0);
  Write("d/x", "");
  EXPECT_EQ(RemoveDirectoryA("d"), 0);
  EXPECT_NE(DeleteFileA("d\\x"), 0);
  EXPECT_NE(RemoveDirectoryA("d\\"), 0);
  EXPECT_FALSE(Exists("d"));
}

TEST_F(Files, TheCurrentDirectoryCannotBeRemoved) {
  _mkdir("d");
  ASSERT_EQ(_chdir("d"), 0);
  EXPECT_EQ(RemoveDirectoryA("..\\d"), 0);
  EXPECT_EQ(_rmdir("..\\d"), -1);
  EXPECT_EQ(_rmdir("."), -1);
  ASSERT_EQ(_chdir(".."), 0);
  EXPECT_EQ(_rmdir("d\\"), 0);
}

TEST_F(Files, TheRuntimeFunctionsReturnZeroOrMinusOne) {
  Write("file", "");
  EXPECT_EQ(_mkdir("d\\"), 0);
  EXPECT_EQ(_mkdir("d"), -1);
  EXPECT_EQ(_chdir("d/"), 0);
  EXPECT_EQ(_chdir(".."), 0);
  for (const char* path : {"", "file", "missing", "C:\\"}) {
    EXPECT_EQ(_chdir(path), -1) << path;
    EXPECT_EQ(_rmdir(path), -1) << path;
  }
}

TEST_F(Files, CopyKeepsContentsModeAndTime) {
  std::string bytes;
  for (int i = 0; i < 300000; ++i) bytes += static_cast<char>(i * 7);
  for (const std::size_t size : {0, 1, 4096, 262143, 262144, 262145, 300000}) {
    const std::string contents = bytes.substr(0, size);
    Write("from", contents);
    chmod("from", 0750);
    const struct timespec times[2] = {{1000, 5}, {2000, 7}};
    utimensat(AT_FDCWD, "from", times, 0);
    ASSERT_NE(CopyFileA("from", "to", FALSE), 0) << size;
    EXPECT_EQ(Read("to"), contents);
    struct stat status;
    stat("to", &status);
    EXPECT_EQ(status.st_mode & 0777, 0750u);
    EXPECT_EQ(status.st_mtim.tv_sec, 2000);
    EXPECT_EQ(status.st_mtim.tv_nsec, 7);
    EXPECT_EQ(CountEntries("."), 2);
  }
}

TEST_F(Files, CopyHonoursFailIfExistsAndReplacesOtherwise) {
  Write("from", "new");
  Write("to", "old contents");
  EXPECT_EQ(CopyFileA("from", "to", TRUE), 0);
  EXPECT_EQ(Read("to"), "old contents");
  EXPECT_NE(CopyFileA("from", "to", FALSE), 0);
  EXPECT_EQ(Read("to"), "new");
  EXPECT_NE(CopyFileA("from", "to2", TRUE), 0);
  EXPECT_EQ(CountEntries("."), 3);
}

TEST_F(Files, CopyOntoItselfByAnySpellingFailsAndKeepsIt) {
  Write("d/file", "precious");
  ASSERT_EQ(link("d/file", "hard"), 0);
  symlink("d/file", "soft");
  for (const char* to : {"d\\file", "d/../d/file", ".\\d\\.\\file", "hard", "soft"}) {
    EXPECT_EQ(CopyFileA("d\\file", to, FALSE), 0) << to;
  }
  EXPECT_EQ(Read("d/file"), "precious");
  EXPECT_EQ(CountEntries("."), 4);
}

TEST_F(Files, CopyFailsWithoutCreatingAnything) {
  Write("file", "x");
  _mkdir("d");
  mkfifo("pipe", 0600);
  Write("locked", "y");
  chmod("locked", 0444);
  const int before = CountEntries(".");
  EXPECT_EQ(CopyFileA("missing", "to", FALSE), 0);
  EXPECT_EQ(CopyFileA("file", "missing\\to", FALSE), 0);
  EXPECT_EQ(CopyFileA("d", "to", FALSE), 0);
  EXPECT_EQ(CopyFileA("file", "d", FALSE), 0);
  EXPECT_EQ(CopyFileA("pipe", "to", FALSE), 0);
  EXPECT_EQ(CopyFileA("file", "pipe", FALSE), 0);
  EXPECT_EQ(CopyFileA("file", "locked", FALSE), 0);
  EXPECT_EQ(CopyFileA("file", "to\\", FALSE), 0);
  EXPECT_EQ(CopyFileA("fi*", "to", FALSE), 0);
  EXPECT_EQ(CopyFileA("", "to", FALSE), 0);
  EXPECT_EQ(CopyFileA("file", "", FALSE), 0);
  EXPECT_EQ(CountEntries("."), before);
  EXPECT_EQ(Read("locked"), "y");
}

TEST_F(Files, CopyTakesAHeldFileButDoesNotReplaceIt) {
  Write("held", "held");
  Write("other", "other");
  const auto held = IdOfFile("held");
  windows::RememberOpenFile(held);
  EXPECT_EQ(CopyFileA("other", "held", FALSE), 0);
  EXPECT_NE(CopyFileA("held", "copy", FALSE), 0);
  windows::ForgetOpenFile(held);
  EXPECT_EQ(Read("copy"), "held");
  EXPECT_EQ(Read("held"), "held");
  EXPECT_NE(CopyFileA("other", "held", FALSE), 0);
  EXPECT_EQ(Read("held"), "other");
}

TEST_F(Files, AFileHeldTwiceIsFreeWhenItIsLetGoTwice) {
  Write("held", "");
  const auto held = IdOfFile("held");
  windows::RememberOpenFile(held);
  windows::RememberOpenFile(held);
  windows::ForgetOpenFile(held);
  EXPECT_EQ(DeleteFileA("held"), 0);
  windows::ForgetOpenFile(held);
  EXPECT_FALSE(windows::AreFilesOpen());
  EXPECT_NE(DeleteFileA("held"), 0);
}

TEST_F(Files, CopyKeepsAReadOnlyFileReadOnly) {
  Write("locked", "y");
  chmod("locked", 0444);
  EXPECT_NE(CopyFileA("locked", "to", FALSE), 0);
  EXPECT_EQ(GetFileAttributesA("to"), FILE_ATTRIBUTE_READONLY);
}

TEST_F(Files, CopyCopiesALinkAsALink) {
  Write("d/file", "x");
  symlink("d", "dir-link");
  symlink("nowhere", "broken");
  EXPECT_NE(CopyFileA("dir-link", "copy", FALSE), 0);
  EXPECT_EQ(std::filesystem::read_symlink("copy"), "d");
  EXPECT_NE(CopyFileA("broken", "copy", FALSE), 0);
  EXPECT_EQ(std::filesystem::read_symlink("copy"), "nowhere");
  EXPECT_EQ(CopyFileA("broken", "copy", TRUE), 0);
}

TEST_F(Files, CopyReplacesALinkAndDoesNotWriteThroughIt) {
  Write("outside", "keep");
  Write("file", "new");
  symlink("outside", "link");
  EXPECT_NE(CopyFileA("file", "link", FALSE), 0);
  EXPECT_EQ(Read("outside"), "keep");
  EXPECT_EQ(Read("link"), "new");
  symlink("nowhere", "broken");
  EXPECT_EQ(CopyFileA("file", "broken", TRUE), 0);
  EXPECT_NE(CopyFileA("file", "broken", FALSE), 0);
  EXPECT_FALSE(std::filesystem::is_symlink("broken"));
  EXPECT_FALSE(Exists("nowhere"));
}

// A process that was killed leaves its temporary file; the next may have the same number, and comes
// to give its own file the same name.
TEST_F(Files, ALeftoverTemporaryFileIsCopiedLikeAnyOther) {
  const std::string name = ".tavhost-" + std::to_string(getpid()) + "-2000.tmp";
  Write("from/" + name, "left");
  _mkdir("to");
  for (int copies = 0; copies < 2500; ++copies) {
    ASSERT_NE(CopyFileA(("from\\" + name).c_str(), ("to\\" + name).c_str(), TRUE), 0) << copies;
    ASSERT_EQ(Read("to/" + name), "left");
    std::filesystem::remove("to/" + name);
  }
  EXPECT_EQ(CountEntries("."), 3);
}

TEST_F(Files, MoveNeverReplaces) {
  Write("a", "1");
  Write("b", "2");
  _mkdir("d");
  EXPECT_EQ(MoveFileA("a", "b"), 0);
  EXPECT_EQ(MoveFileA("a", "d"), 0);
  EXPECT_EQ(Read("a"), "1");
  EXPECT_EQ(Read("b"), "2");
  EXPECT_NE(MoveFileA("a", "d\\a"), 0);
  EXPECT_EQ(Read("d/a"), "1");
  EXPECT_EQ(MoveFileA("missing", "x"), 0);
  EXPECT_EQ(MoveFileA("b", "no\\x"), 0);
  EXPECT_EQ(MoveFileA("b", "x\\"), 0);
}

TEST_F(Files, MoveOntoItselfAndAChangeOfCaseSucceed) {
  Write("m1", "1");
  EXPECT_NE(MoveFileA("m1", "m1"), 0);
  EXPECT_NE(MoveFileA("m1", ".\\m1"), 0);
  EXPECT_NE(MoveFileA("m1", "M1"), 0);
  EXPECT_EQ(Read("M1"), "1");
}

TEST_F(Files, AChangeOfCaseDoesNotReplaceAFileOfThatCase) {
  Write("m1", "small");
  Write("M1", "capital");
  EXPECT_EQ(MoveFileA("m1", "M1"), 0);
  EXPECT_EQ(Read("m1"), "small");
  EXPECT_EQ(Read("M1"), "capital");
}

TEST_F(Files, MoveOntoAHardLinkOfAnotherNameFails) {
  Write("a", "1");
  ASSERT_EQ(link("a", "b"), 0);
  EXPECT_EQ(MoveFileA("a", "b"), 0);
  EXPECT_TRUE(Exists("a"));
  EXPECT_TRUE(Exists("b"));
}

TEST_F(Files, MoveOntoAHardLinkWhoseNameDiffersInCaseAloneFails) {
  Write("m1", "x");
  ASSERT_EQ(link("m1", "M1"), 0);
  EXPECT_EQ(MoveFileA("m1", "M1"), 0);
  EXPECT_EQ(MoveFileA("M1", ".\\m1"), 0);
  EXPECT_TRUE(Exists("m1"));
  EXPECT_TRUE(Exists("M1"));
  EXPECT_NE(MoveFileA("M1", "M1"), 0);
}

TEST_F(Files, AReadOnlyFileMovesAHeldOneDoesNot) {
  Write("locked", "1");
  chmod("locked", 0444);
  EXPECT_NE(MoveFileA("locked", "moved"), 0);
  const auto held = IdOfFile("moved");
  windows::RememberOpenFile(held);
  EXPECT_EQ(MoveFileA("moved", "again"), 0);
  windows::ForgetOpenFile(held);
  EXPECT_NE(MoveFileA("moved", "again"), 0);
}

TEST_F(Files, MoveGoesToAnotherFileSystemByCopying) {
  const SecondFileSystem other;
  if (!other.IsThere()) GTEST_SKIP() << "no second file system here";
  const std::string to = other.Folder() + "/to";
  Write("a", "contents");
  symlink("a", "link");
  chmod("a", 0440);
  const struct timespec times[2] = {{1000, 0}, {2000, 0}};
  utimensat(AT_FDCWD, "a", times, 0);
  EXPECT_NE(MoveFileA("a", to.c_str()), 0);
  EXPECT_EQ(Read(to), "contents");
  EXPECT_FALSE(Exists("a"));
  struct stat status;
  stat(to.c_str(), &status);
  EXPECT_EQ(status.st_mode & 0777, 0440u);
  EXPECT_EQ(status.st_mtim.tv_sec, 2000);
  _mkdir("d");
  EXPECT_EQ(MoveFileA("d", (to + "-directory").c_str()), 0);
  EXPECT_TRUE(Exists("d"));
  EXPECT_NE(MoveFileA("link", (to + "-link").c_str()), 0);
  EXPECT_FALSE(Exists("link"));
  Write("a", "more");
  EXPECT_EQ(MoveFileA("a", to.c_str()), 0);
  EXPECT_EQ(Read("a"), "more");
  EXPECT_EQ(Read(to), "contents");
  EXPECT_EQ(CountEntries(other.Folder()), 2);
}

}  // namespace
