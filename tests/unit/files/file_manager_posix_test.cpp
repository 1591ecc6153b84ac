#include "host/files/file_manager.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <tl/expected.hpp>

#include "host/files/core_variables.h"
#include "host/files/database_names.h"
#include "host/files/system_file_manager.h"
#include "host/windows/files.h"
#include "tavhost/base/command_end.h"
#include "tavhost/files/database_area.h"
#include "tavhost/files/open_output_files.h"
#include "tavhost/files/program_path.h"
#include "tests/support/scratch_folder.h"

namespace {

using Names = std::set<SV::String, std::less<SV::String>>;

class FileManager : public ScratchFolder {
 protected:
  void SetUp() override {
    ScratchFolder::SetUp();
    std::filesystem::create_directory("here");
    std::filesystem::current_path("here");
    database_area::SetFolder("../area");
    program_path::Set("");
  }
  void TearDown() override {
    database_area::SetFolder("");
    program_path::Set("");
    ScratchFolder::TearDown();
  }

  static bool WriteWhole(const char* path, const std::string& text, int mode = 2,
                         long library = -1) {
    TavFileHandle handle = TavFileManager::fileOpenWrite(path, mode, library);
    if (handle == 0) return false;
    const auto length = static_cast<long>(text.size());
    EXPECT_EQ(TavFileManager::fileWrite(handle, text.data(), length), length);
    const bool closed = TavFileManager::fileClose(handle);
    EXPECT_EQ(handle, 0);
    return closed;
  }
  static std::string ReadBack(const char* path) {
    SV::String contents;
    const long code = TavSystemFileManager::readStringFromFile(contents, path, false);
    return code == 0 ? std::string(contents.View()) : "error " + std::to_string(code);
  }
  static bool Exists(const char* path, long library = -1) {
    return TavFileManager::fileExists(path, library, false);
  }
};

TEST_F(FileManager, WritesAppendsAndReadsBytesAsTheyAre) {
  const std::string bytes("a\nb\r\n\x1A\0\xFF", 8);
  for (const int binary : {0, 32}) {
    EXPECT_TRUE(WriteWhole("file", bytes, 2 + binary));
    EXPECT_EQ(ReadBack("file"), bytes);
    EXPECT_TRUE(WriteWhole("file", "more", 2 + 8 + binary));
    EXPECT_EQ(ReadBack("file"), bytes + "more");
    EXPECT_TRUE(WriteWhole("file", "", 2 + binary));
    EXPECT_EQ(ReadBack("file"), "");
  }
}

TEST_F(FileManager, ReadTellsWhyItFailed) {
  std::filesystem::create_directory("d");
  mkfifo("pipe", 0600);
  EXPECT_EQ(ReadBack("missing"), "error 1");
  EXPECT_EQ(ReadBack("missing/x"), "error 1");
  EXPECT_EQ(ReadBack(""), "error 1");
  EXPECT_EQ(ReadBack("d"), "error 2");
  EXPECT_EQ(ReadBack("d\\"), "error 2");
  EXPECT_EQ(ReadBack("d/."), "error 2");
  EXPECT_EQ(ReadBack("pipe"), "error 2");
  Write("file", "");
  EXPECT_EQ(ReadBack("file\\"), "error 1");
  EXPECT_EQ(ReadBack("file\\x"), "error 1");
  EXPECT_EQ(ReadBack("fil?"), "error 1");
  EXPECT_EQ(ReadBack("C:\\file"), "error 1");
  std::filesystem::resize_file("file", 0x7FFFFFFFull + 1);
  EXPECT_EQ(ReadBack("file"), "error 4");
  SV::String contents("old");
  EXPECT_EQ(TavSystemFileManager::readStringFromFile(contents, SV::String("fi\0le", 5), true), 1);
  EXPECT_EQ(contents.Len(), 0);
}

TEST_F(FileManager, WhatMayNotBeReadIsNotTakenForMissing) {
  Write("secret", "x");
  Write("closed/file", "x");
  chmod("secret", 0);
  chmod("closed", 0);
  chmod("..", 0755);
  // Rights do not hold back the superuser.
  const bool isRoot = geteuid() == 0;
  if (isRoot) {
    ASSERT_EQ(seteuid(65534), 0);
  }
  const std::string file = ReadBack("secret");
  const std::string inside = ReadBack("closed/file");
  WIN32_FIND_DATAA data;
  const HANDLE search = FindFirstFileA("closed\\*", &data);
  if (isRoot) {
    ASSERT_EQ(seteuid(0), 0);
  }
  chmod("closed", 0755);
  EXPECT_EQ(file, "error 2");
  EXPECT_EQ(inside, "error 2");
  EXPECT_EQ(search, INVALID_HANDLE_VALUE);
}

TEST_F(FileManager, ReadsFilesThatDoNotTellTheirSize) {
  EXPECT_NE(ReadBack("/proc/self/status").find("VmRSS"), std::string::npos);
  EXPECT_EQ(ReadBack("/dev/null"), "");
  EXPECT_TRUE(TavFileManager::fileCopy("/proc/version", "copy", -1, -1, false));
  EXPECT_EQ(Read("copy"), Read("/proc/version"));
  EXPECT_NE(Read("copy"), "");
}

TEST_F(FileManager, ReadsFilesThatAreShorterThanTheySay) {
  const char* file = "/sys/devices/system/cpu/online";
  struct stat status;
  if (stat(file, &status) != 0 || status.st_size < 100) GTEST_SKIP() << "no such file here";
  const std::string contents = Read(file);
  ASSERT_LT(contents.size(), 100u);
  EXPECT_EQ(ReadBack(file), contents);
}

TEST_F(FileManager, PathsAreTranslatedAsEverywhere) {
  EXPECT_FALSE(WriteWhole("d\\file", "x"));
  std::filesystem::create_directory("d");
  EXPECT_TRUE(WriteWhole("d\\file", "x"));
  EXPECT_EQ(ReadBack("d\\..\\d\\file"), "x");
  EXPECT_TRUE(Exists("d\\file"));
  EXPECT_FALSE(Exists("d"));
  EXPECT_FALSE(Exists("d\\file\\"));
  EXPECT_FALSE(Exists("d\\fil*"));
  EXPECT_FALSE(WriteWhole("d\\new?", "x"));
}

TEST_F(FileManager, AFileHeldOpenCanBeReadButNotRemovedOrMoved) {
  TavFileHandle handle = TavFileManager::fileOpenWrite("held", 2, -1);
  ASSERT_NE(handle, 0);
  EXPECT_EQ(TavFileManager::fileWrite(handle, "abc", 3), 3);
  EXPECT_EQ(ReadBack("held"), "abc");
  EXPECT_FALSE(TavFileManager::fileDelete("held", -1));
  EXPECT_EQ(DeleteFileA("held"), 0);
  EXPECT_EQ(MoveFileA("held", "moved"), 0);
  EXPECT_FALSE(TavFileManager::fileRename("held", "moved", -1));
  Write("other", "x");
  EXPECT_FALSE(TavFileManager::fileCopy("other", "held", -1, -1, false));
  EXPECT_EQ(CopyFileA("other", "held", FALSE), 0);
  EXPECT_TRUE(TavFileManager::fileClose(handle));
  EXPECT_TRUE(TavFileManager::fileDelete("held", -1));
}

TEST_F(FileManager, UnknownHandlesWriteNothing) {
  TavFileHandle handle = 4711;
  EXPECT_EQ(TavFileManager::fileWrite(handle, "x", 1), 0);
  EXPECT_FALSE(TavFileManager::fileClose(handle));
  EXPECT_EQ(handle, 0);
}

TEST_F(FileManager, AReadOnlyFileIsNotOverwrittenOrRemovedEvenByRoot) {
  Write("locked", "keep");
  chmod("locked", 0444);
  Write("new", "new");
  EXPECT_FALSE(WriteWhole("locked", "x"));
  EXPECT_FALSE(WriteWhole("locked", "x", 2 + 8));
  EXPECT_FALSE(TavFileManager::fileDelete("locked", -1));
  EXPECT_FALSE(TavFileManager::fileCopy("new", "locked", -1, -1, false));
  EXPECT_EQ(ReadBack("locked"), "keep");
}

TEST_F(FileManager, CopyTakesAttributesOnlyWhenAsked) {
  Write("from", "x");
  chmod("from", 0440);
  const struct timespec times[2] = {{1000, 0}, {2000, 0}};
  utimensat(AT_FDCWD, "from", times, 0);
  struct stat status;
  EXPECT_TRUE(TavFileManager::fileCopy("from", "with", -1, -1, true));
  stat("with", &status);
  EXPECT_EQ(status.st_mtim.tv_sec, 2000);
  EXPECT_EQ(status.st_mode & 0777, 0440u);
  EXPECT_TRUE(TavFileManager::fileCopy("from", "without", -1, -1, false));
  stat("without", &status);
  EXPECT_GT(status.st_mtim.tv_sec, 2000);
  EXPECT_EQ(status.st_mode & 0777, 0640u);
}

TEST_F(FileManager, CopyReplacesButNotItself) {
  Write("from", "new");
  Write("to", "old");
  ASSERT_EQ(link("from", "hard"), 0);
  EXPECT_TRUE(TavFileManager::fileCopy("from", "to", -1, -1, false));
  EXPECT_EQ(Read("to"), "new");
  EXPECT_FALSE(TavFileManager::fileCopy("from", ".\\from", -1, -1, false));
  EXPECT_FALSE(TavFileManager::fileCopy("from", "hard", -1, -1, false));
  EXPECT_EQ(Read("from"), "new");
}

TEST_F(FileManager, CopyFollowsALinkAtTheSourceAndReplacesOneAtTheTarget) {
  Write("file", "contents");
  Write("outside", "keep");
  ASSERT_EQ(symlink("file", "link"), 0);
  ASSERT_EQ(symlink("outside", "target"), 0);
  ASSERT_EQ(symlink("nowhere", "broken"), 0);
  EXPECT_TRUE(TavFileManager::fileCopy("link", "target", -1, -1, true));
  EXPECT_FALSE(std::filesystem::is_symlink("target"));
  EXPECT_EQ(Read("target"), "contents");
  EXPECT_EQ(Read("outside"), "keep");
  EXPECT_FALSE(TavFileManager::fileCopy("broken", "copy", -1, -1, false));
  EXPECT_FALSE(TavFileManager::fileCopy("link", "file", -1, -1, false));
  EXPECT_EQ(Read("file"), "contents");
}

TEST_F(FileManager, ATextThatDoesNotFitIsCountedAsFarAsItGoes) {
  struct rlimit before;
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  struct rlimit small = before;
  small.rlim_cur = 5;
  const auto ignored = signal(SIGXFSZ, SIG_IGN);
  TavFileHandle handle = TavFileManager::fileOpenWrite("file", 2, -1);
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  const long first = TavFileManager::fileWrite(handle, "abc", 3);
  const long second = TavFileManager::fileWrite(handle, "defgh", 5);
  const bool copied = CopyFileA("file", "copy", FALSE) != 0;
  setrlimit(RLIMIT_FSIZE, &before);
  signal(SIGXFSZ, ignored);
  EXPECT_TRUE(TavFileManager::fileClose(handle));
  EXPECT_EQ(first, 3);
  EXPECT_EQ(second, 2);
  EXPECT_TRUE(copied);
  EXPECT_EQ(Read("file"), "abcde");
  EXPECT_EQ(Read("copy"), "abcde");
}

TEST_F(FileManager, ANameIsNotCutAtAZeroByte) {
  Write("file", "x");
  const SV::String name("file\0x", 6);
  EXPECT_FALSE(TavFileManager::fileExists(name, -1, false));
  EXPECT_FALSE(TavFileManager::fileDelete(name, -1));
  EXPECT_TRUE(Exists("file"));
}

TEST_F(FileManager, RenameNeverReplaces) {
  Write("a", "1");
  Write("b", "2");
  EXPECT_FALSE(TavFileManager::fileRename("a", "b", -1));
  EXPECT_TRUE(TavFileManager::fileRename("a", "A", -1));
  EXPECT_TRUE(TavFileManager::fileRename("A", "c", -1));
  EXPECT_EQ(Read("c"), "1");
}

TEST_F(FileManager, RelativeNamesAreResolvedAgainstTheProgramPath) {
  EXPECT_EQ(Tav_GetProgramPathFilename("x"), (folder_ + "/here/x").c_str());
  program_path::Set("../scripts");
  EXPECT_EQ(Tav_GetProgramPathFilename("x"), (folder_ + "/here/../scripts/x").c_str());
  program_path::Set("/opt/scripts");
  EXPECT_EQ(Tav_GetProgramPathFilename("sub\\x"), "/opt/scripts/sub\\x");
  for (const char* name : {"/x", "\\x", "C:\\x", "db:\\x", "DB:/..", ""}) {
    EXPECT_EQ(Tav_GetProgramPathFilename(name), name);
  }
}

TEST_F(FileManager, ATemporaryFileIsNewAndEmpty) {
  const SV::String first = TavSystemFileManager::fileCreateTempName("tav", nullptr);
  const SV::String second = TavSystemFileManager::fileCreateTempName("tav", nullptr);
  EXPECT_FALSE(first == second);
  EXPECT_NE(first.View().find("/tav"), std::string_view::npos);
  struct stat status;
  ASSERT_EQ(stat(first.GetStr(), &status), 0);
  EXPECT_EQ(status.st_size, 0);
  EXPECT_EQ(status.st_mode & 0777, 0600u);
  unlink(first.GetStr());
  unlink(second.GetStr());
}

TEST_F(FileManager, AFolderThatScriptsCannotWriteIsNotMistakenForAnother) {
  std::filesystem::create_directories(folder_ + "/here/a/b");
  std::filesystem::create_directories(folder_ + "/here/a\\b");
  Write("a/b/file", "keep");
  program_path::Set(folder_ + "/here/a\\b");
  EXPECT_EQ(Tav_GetProgramPathFilename("file"), "");
  EXPECT_FALSE(WriteWhole(Tav_GetProgramPathFilename("file").GetStr(), "x"));
  EXPECT_EQ(Read("a/b/file"), "keep");
}

class DatabaseArea : public FileManager {};

TEST_F(DatabaseArea, KnowsWhichNamesItCanHold) {
  for (const char* name : {"db:\\a", "DB:\\a.b", "db:/x", "db:\\with blank", "db:\\.hidden",
                           "db:\\\xC3\xA4", "db:\\console"}) {
    EXPECT_TRUE(Tav_Valid_DBFilename(name)) << name;
  }
  for (const char* name : {"",        "a",        "db:",           "db:\\",           "db:a",
                           "db:\\..", "db:\\.",   "db:\\a\\b",     "db:\\a/b",        "db:\\a:b",
                           "db:\\a*", "db:\\a?",  "db:\\a\nb",     "db:\\a\x7F",      "db:\\a.",
                           "db:\\a ", "db:\\con", "db:\\COM1.txt", "db:\\.tavhost-1", "C:\\a",
                           "/db:\\a"}) {
    EXPECT_FALSE(Tav_Valid_DBFilename(name)) << name;
  }
  EXPECT_TRUE(Tav_Valid_DBFilename(("db:\\" + std::string(200, 'x')).c_str()));
  EXPECT_FALSE(Tav_Valid_DBFilename(("db:\\" + std::string(201, 'x')).c_str()));
}

TEST_F(DatabaseArea, NamesMatchWithoutCaseAndKeepTheirs) {
  EXPECT_TRUE(WriteWhole("db:\\Report.txt", "one"));
  EXPECT_EQ(ReadBack("DB:\\report.TXT"), "one");
  EXPECT_TRUE(Exists("db:\\REPORT.TXT"));
  EXPECT_TRUE(WriteWhole("db:\\REPORT.TXT", "two"));
  Names names;
  EXPECT_TRUE(
      TavFileManager::getAllDBFilesOfDir(Tav_GetCoreVarConst(TavCoreVarDatabaseDirectory), names));
  ASSERT_EQ(names.size(), 1u);
  EXPECT_EQ(*names.begin(), "Report.txt");
  EXPECT_EQ(ReadBack("db:\\Report.txt"), "two");
  EXPECT_TRUE(TavFileManager::fileRename("db:\\report.txt", "db:\\REPORT.txt", -1));
  EXPECT_TRUE(std::filesystem::exists("../area/0/REPORT.txt"));
  EXPECT_TRUE(TavFileManager::fileDelete("db:\\report.txt", -1));
  EXPECT_FALSE(Exists("db:\\Report.txt"));
}

TEST_F(DatabaseArea, EveryLibraryHasAFolderOfItsOwn) {
  EXPECT_TRUE(WriteWhole("db:\\x", "zero", 2, -1));
  EXPECT_TRUE(WriteWhole("db:\\x", "five", 2, 5));
  EXPECT_TRUE(WriteWhole("plain", "seven", 2, 7));
  EXPECT_TRUE(Exists("x", 0));
  EXPECT_FALSE(Exists("plain", 0));
  EXPECT_TRUE(Exists("plain", 7));
  EXPECT_FALSE(Exists("plain"));
  EXPECT_FALSE(WriteWhole("x", "y", 2, -2));
  Write("local", "from disk");
  EXPECT_TRUE(TavFileManager::fileCopy("local", "copy", -1, 0, false));
  EXPECT_EQ(ReadBack("db:\\copy"), "from disk");
  EXPECT_TRUE(TavFileManager::fileCopy("x", "out", 5, -1, false));
  EXPECT_EQ(Read("out"), "five");
  EXPECT_FALSE(TavFileManager::fileCopy("missing", "copy", -1, 8, false));
  EXPECT_FALSE(ScratchFolder::Exists("../area/8")) << "nothing is made for a copy that fails";
  EXPECT_FALSE(TavFileManager::fileCopy("local", "copy", -1, -2, false));
  EXPECT_FALSE(TavFileManager::fileCopy("x", "out", -2, -1, false));
  Names names;
  EXPECT_FALSE(TavFileManager::getAllDBFilesOfDir(-1, names));
  EXPECT_TRUE(TavFileManager::getAllDBFilesOfDir(99, names));
  EXPECT_TRUE(names.empty());
}

TEST_F(DatabaseArea, NoNameLeavesTheArea) {
  Write("../area/0/inside", "x");
  Write("../secret", "secret");
  Write("../area/secret", "secret");
  for (const char* name : {"db:\\..\\secret", "db:/../secret", "db:\\..", "db:\\../../secret",
                           "db:\\\\secret", "db:\\/secret"}) {
    EXPECT_EQ(ReadBack(name), "error 1") << name;
    EXPECT_FALSE(Exists(name)) << name;
    EXPECT_FALSE(WriteWhole(name, "overwritten")) << name;
    EXPECT_FALSE(TavFileManager::fileDelete(name, -1)) << name;
    EXPECT_FALSE(TavFileManager::fileCopy("db:\\inside", name, -1, -1, false)) << name;
    EXPECT_FALSE(TavFileManager::fileRename("db:\\inside", name, -1)) << name;
    EXPECT_FALSE(TavFileManager::fileRename(name, "db:\\stolen", -1)) << name;
  }
  EXPECT_FALSE(TavFileManager::fileRename("db:\\inside", "outside", -1));
  EXPECT_EQ(Read("../secret"), "secret");
  EXPECT_EQ(Read("../area/secret"), "secret");
}

TEST_F(DatabaseArea, ALinkInTheAreaIsNoFileOfIt) {
  Write("../outside", "keep");
  std::filesystem::create_directories("../area/0");
  symlink("../../outside", "../area/0/link");
  EXPECT_EQ(ReadBack("db:\\link"), "error 1");
  EXPECT_FALSE(WriteWhole("db:\\link", "x"));
  EXPECT_FALSE(TavFileManager::fileDelete("db:\\link", -1));
  EXPECT_EQ(Read("../outside"), "keep");
}

TEST_F(DatabaseArea, AReadOnlyFileIsNotReplaced) {
  Write("locked", "keep");
  chmod("locked", 0444);
  EXPECT_TRUE(TavFileManager::fileCopy("locked", "db:\\x", -1, -1, true));
  EXPECT_EQ(TavFileManager::fileOpenWrite("db:\\x", 2, -1), 0);
  EXPECT_EQ(TavFileManager::fileOpenWrite("db:\\X", 2 + 8, -1), 0);
  EXPECT_FALSE(TavFileManager::fileDelete("db:\\x", -1));
  EXPECT_FALSE(TavFileManager::fileCopy("db:\\x", "db:\\X", -1, -1, false));
  EXPECT_EQ(ReadBack("db:\\x"), "keep");
  EXPECT_TRUE(TavFileManager::fileRename("db:\\x", "db:\\y", -1));
  EXPECT_EQ(CountEntries("../area/0"), 1);
}

TEST_F(DatabaseArea, AFileAppearsWholeWhenItIsClosed) {
  EXPECT_TRUE(WriteWhole("db:\\x", "old"));
  TavFileHandle handle = TavFileManager::fileOpenWrite("db:\\x", 2, -1);
  EXPECT_EQ(TavFileManager::fileWrite(handle, "new", 3), 3);
  EXPECT_EQ(ReadBack("db:\\x"), "old");
  EXPECT_FALSE(TavFileManager::fileDelete("db:\\X", -1));
  EXPECT_FALSE(TavFileManager::fileRename("db:\\x", "db:\\y", -1));
  Names names;
  TavFileManager::getAllDBFilesOfDir(0, names);
  EXPECT_EQ(names.size(), 1u);
  EXPECT_TRUE(TavFileManager::fileClose(handle));
  EXPECT_EQ(ReadBack("db:\\x"), "new");
  EXPECT_TRUE(WriteWhole("db:\\x", " and more", 2 + 8));
  EXPECT_EQ(ReadBack("db:\\x"), "new and more");
  EXPECT_TRUE(WriteWhole("db:\\y", "first", 2 + 8));
  EXPECT_EQ(ReadBack("db:\\y"), "first");
  EXPECT_TRUE(TavFileManager::fileDelete("db:\\y", -1));
  EXPECT_EQ(CountEntries("../area/0"), 1);
}

TEST_F(DatabaseArea, AFileThatDoesNotFitLeavesTheOldOne) {
  EXPECT_TRUE(WriteWhole("db:\\x", "old"));
  for (const bool isForgotten : {false, true}) {
    const TavFileHandle mark = open_output_files::Newest();
    struct rlimit before;
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    struct rlimit small = before;
    small.rlim_cur = 5;
    const auto ignored = signal(SIGXFSZ, SIG_IGN);
    TavFileHandle handle = TavFileManager::fileOpenWrite("db:\\x", 2, -1);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const long written = TavFileManager::fileWrite(handle, "new and long", 12);
    setrlimit(RLIMIT_FSIZE, &before);
    signal(SIGXFSZ, ignored);
    EXPECT_EQ(written, 0);
    std::string told;
    try {
      if (isForgotten) told = open_output_files::CloseSince(mark).error().message;
      TavFileManager::fileClose(handle);
    } catch (const command_end::Failure& failure) {
      told = failure.what();
    }
    EXPECT_EQ(told, std::filesystem::current_path().string() + "/../area/0/x" +
                        " could not be stored: File too large; it stays as it was");
    EXPECT_EQ(handle, 0);
    EXPECT_EQ(ReadBack("db:\\x"), "old");
    EXPECT_EQ(CountEntries("../area/0"), 1) << "nothing is left beside it";
  }
}

TEST_F(DatabaseArea, EveryFileUnderWayIsHeld) {
  EXPECT_TRUE(WriteWhole("db:\\x", "1"));
  EXPECT_TRUE(WriteWhole("db:\\y", "2"));
  TavFileHandle x = TavFileManager::fileOpenWrite("db:\\x", 2, -1);
  TavFileHandle y = TavFileManager::fileOpenWrite("db:\\Y", 2, -1);
  for (const char* name : {"db:\\x", "db:\\y"}) {
    EXPECT_FALSE(TavFileManager::fileDelete(name, -1)) << name;
    EXPECT_FALSE(TavFileManager::fileCopy("db:\\x", name, -1, -1, false)) << name;
    EXPECT_FALSE(TavFileManager::fileRename(name, "db:\\z", -1)) << name;
  }
  EXPECT_TRUE(TavFileManager::fileClose(x));
  EXPECT_TRUE(TavFileManager::fileDelete("db:\\x", -1));
  EXPECT_FALSE(TavFileManager::fileDelete("db:\\y", -1));
  EXPECT_TRUE(TavFileManager::fileClose(y));
  EXPECT_TRUE(TavFileManager::fileDelete("db:\\y", -1));
}

TEST_F(DatabaseArea, OfSeveralSpellingsTheExactOneCountsThenTheFirst) {
  for (const char* name : {"ab", "AB", "Ab"}) Write(std::string("../area/0/") + name, name);
  EXPECT_EQ(ReadBack("db:\\ab"), "ab");
  EXPECT_EQ(ReadBack("db:\\Ab"), "Ab");
  EXPECT_EQ(ReadBack("db:\\aB"), "AB");
}

TEST_F(DatabaseArea, AProcessThatDiesLeavesTheOldFile) {
  EXPECT_TRUE(WriteWhole("db:\\x", "old"));
  const pid_t child = fork();
  if (child == 0) {
    const TavFileHandle handle = TavFileManager::fileOpenWrite("db:\\x", 2, -1);
    TavFileManager::fileWrite(handle, "half", 4);
    kill(getpid(), SIGKILL);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(ReadBack("db:\\x"), "old");
  Names names;
  TavFileManager::getAllDBFilesOfDir(0, names);
  EXPECT_EQ(names.size(), 1u);
  EXPECT_TRUE(WriteWhole("db:\\x", "next"));
  EXPECT_EQ(ReadBack("db:\\x"), "next");
}

TEST_F(DatabaseArea, AFolderOfAnyNameHoldsIt) {
  database_area::SetFolder(folder_ + "/odd * name\\x?");
  EXPECT_TRUE(WriteWhole("db:\\x", "1"));
  EXPECT_EQ(ReadBack("db:\\x"), "1");
  EXPECT_TRUE(std::filesystem::exists(folder_ + "/odd * name\\x?/0/x"));
  database_area::SetFolder(folder_ + "/here/file");
  Write("file", "");
  EXPECT_FALSE(WriteWhole("db:\\x", "1"));
  Names names;
  EXPECT_FALSE(TavFileManager::getAllDBFilesOfDir(0, names));
}

TEST(CoreVariables, OnlyTheDatabaseDirectoryIsKnown) {
  EXPECT_GE(Tav_GetCoreVarConst(TavCoreVarDatabaseDirectory), 0);
  EXPECT_EQ(Tav_GetCoreVarConst(static_cast<TavCoreVarType>(1)), -1);
}

}  // namespace
