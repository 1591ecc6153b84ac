// The host's file services promise the same on Windows as everywhere.
#include "host/files/file_manager.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "host/files/core_variables.h"
#include "host/files/database_names.h"
#include "host/files/system_file_manager.h"
#include "host/windows/windows.h"
#include "tavhost/base/command_end.h"
#include "tavhost/files/database_area.h"
#include "tavhost/files/program_path.h"

#include <sddl.h>

namespace {

using Names = std::set<SV::String, std::less<SV::String>>;

class FileManager : public testing::Test {
 protected:
  void SetUp() override {
    static int number = 0;
    before_ = std::filesystem::current_path();
    folder_ =
        std::filesystem::temp_directory_path() /
        ("tavhost-test-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++number));
    std::filesystem::create_directories(folder_ / "here");
    std::filesystem::current_path(folder_ / "here");
    database_area::SetFolder("..\\area");
    program_path::Set("");
  }
  void TearDown() override {
    database_area::SetFolder("");
    std::filesystem::current_path(before_);
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder_)) {
      SetFileAttributesA(entry.path().string().c_str(), FILE_ATTRIBUTE_NORMAL);
    }
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }

  static void Write(const std::string& path, const std::string& contents) {
    std::ofstream(path, std::ios::binary) << contents;
  }
  static std::string Read(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
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
    SV::String contents("old");
    const long code = TavSystemFileManager::readStringFromFile(contents, path, false);
    if (code != 0) {
      EXPECT_EQ(contents.Len(), 0) << path;
    }
    return code == 0 ? std::string(contents.View()) : "error " + std::to_string(code);
  }
  static bool Exists(const char* path, long library = -1) {
    return TavFileManager::fileExists(path, library, false);
  }
  static int CountFiles(const char* folder) {
    int count = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
      count += entry.is_regular_file() ? 1 : 0;
    }
    return count;
  }

  std::filesystem::path before_;
  std::filesystem::path folder_;
};

TEST_F(FileManager, WritesAppendsAndReadsBytesAsTheyAre) {
  const std::string bytes("a\nb\r\n\x1A\0\xFF", 8);
  for (const int binary : {0, 32}) {
    EXPECT_TRUE(WriteWhole("file", bytes, 2 + binary));
    EXPECT_EQ(Read("file"), bytes);
    EXPECT_EQ(ReadBack("file"), bytes);
    EXPECT_TRUE(WriteWhole("file", "more\n", 2 + 8 + binary));
    EXPECT_EQ(Read("file"), bytes + "more\n");
    EXPECT_TRUE(WriteWhole("file", "", 2 + binary));
    EXPECT_EQ(ReadBack("file"), "");
  }
  EXPECT_TRUE(WriteWhole("new", "x", 2 + 8));
  EXPECT_EQ(Read("new"), "x");
}

TEST_F(FileManager, ReadTellsWhyItFailed) {
  std::filesystem::create_directory("d");
  for (const char* path : {"missing", "missing\\x", ""})
    EXPECT_EQ(ReadBack(path), "error 1") << path;
  for (const char* path : {"d", "d\\", "d/."}) EXPECT_EQ(ReadBack(path), "error 2") << path;
  Write("file", "");
  std::filesystem::resize_file("file", 0x7FFFFFFFull + 1);
  EXPECT_EQ(ReadBack("file"), "error 4");
}

TEST_F(FileManager, OnlyFilesExist) {
  std::filesystem::create_directory("d");
  Write("d\\file", "");
  EXPECT_TRUE(Exists("d\\file"));
  EXPECT_TRUE(Exists("d/../d/FILE"));
  EXPECT_FALSE(Exists("d"));
  EXPECT_FALSE(Exists("d\\none"));
  EXPECT_FALSE(Exists("d\\fil*"));
  EXPECT_FALSE(WriteWhole("d\\new?", "x"));
  EXPECT_FALSE(WriteWhole("d", "x"));
}

TEST_F(FileManager, AFileHeldOpenCanBeReadButNotRemovedMovedOrReplaced) {
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
  EXPECT_TRUE(TavFileManager::fileClose(handle));
  EXPECT_EQ(Read("held"), "abc");
  EXPECT_TRUE(TavFileManager::fileDelete("held", -1));
  EXPECT_EQ(CountFiles("."), 1);
}

TEST_F(FileManager, ATextOfOneCommandReplacesTheWholeFile) {
  Write("file", "old, and longer");
  SetFileAttributesA("file", FILE_ATTRIBUTE_HIDDEN);
  {
    command_end::Scope command;
    TavFileHandle handle = TavFileManager::fileOpenWrite("file", 2, -1);
    EXPECT_EQ(TavFileManager::fileWrite(handle, "new", 3), 3);
    EXPECT_EQ(Read("file"), "old, and longer");
    EXPECT_TRUE(TavFileManager::fileClose(handle));
    command.Returned();
  }
  EXPECT_EQ(Read("file"), "new");
  EXPECT_NE(GetFileAttributesA("file") & FILE_ATTRIBUTE_HIDDEN, 0u);
  EXPECT_EQ(CountFiles("."), 1);
  {
    command_end::Scope command;
    EXPECT_NE(TavFileManager::fileOpenWrite("file", 2, -1), 0);
    // It ends by an exception, without having closed the file.
  }
  EXPECT_EQ(Read("file"), "new");
  EXPECT_EQ(CountFiles("."), 1);
}

// Who may do what with a file, as text.
std::string AccessOf(const char* path) {
  DWORD length = 0;
  GetFileSecurityA(path, DACL_SECURITY_INFORMATION, nullptr, 0, &length);
  std::string descriptor(length, '\0');
  LPSTR text = nullptr;
  if (!GetFileSecurityA(path, DACL_SECURITY_INFORMATION, descriptor.data(), length, &length) ||
      !ConvertSecurityDescriptorToStringSecurityDescriptorA(
          descriptor.data(), SDDL_REVISION_1, DACL_SECURITY_INFORMATION, &text, nullptr)) {
    return {};
  }
  const std::string access = text;
  LocalFree(text);
  return access;
}

void SetAccess(const char* path, const char* access) {
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  ASSERT_TRUE(ConvertStringSecurityDescriptorToSecurityDescriptorA(access, SDDL_REVISION_1,
                                                                   &descriptor, nullptr));
  ASSERT_TRUE(SetFileSecurityA(path, DACL_SECURITY_INFORMATION, descriptor));
  LocalFree(descriptor);
}

TEST_F(FileManager, AFileThatIsReplacedKeepsItsAccessList) {
  Write("other", "new");
  for (const char* path : {"written", "copied", "kept open"}) Write(path, "old");
  const std::string usual = AccessOf("written");
  ASSERT_FALSE(usual.empty());
  // Nobody but this user.
  for (const char* path : {"written", "copied", "kept open"}) SetAccess(path, "D:P(A;;FA;;;BA)");
  const std::string narrow = AccessOf("written");
  EXPECT_NE(narrow, usual);
  {
    command_end::Scope command;
    EXPECT_TRUE(WriteWhole("written", "new"));
    command.Returned();
  }
  EXPECT_TRUE(TavFileManager::fileCopy("other", "copied", -1, -1, false));
  EXPECT_TRUE(WriteWhole("kept open", "new"));
  for (const char* path : {"written", "copied", "kept open"}) {
    EXPECT_EQ(Read(path), "new");
    EXPECT_EQ(AccessOf(path), narrow) << path;
  }
  EXPECT_TRUE(TavFileManager::fileCopy("written", "free", -1, -1, true));
  EXPECT_EQ(AccessOf("free"), usual) << "a new file has the rights of its folder";
}

TEST_F(FileManager, WhatOthersHoldIsWrittenInPlace) {
  Write("file", "old, and longer");
  ASSERT_NE(CreateHardLinkA("other", "file", nullptr), 0);
  command_end::Scope command;
  EXPECT_TRUE(WriteWhole("file", "new"));
  EXPECT_EQ(Read("other"), "new");
  Write("held", "old, and longer");
  const HANDLE held = CreateFileA("held", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                  OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  EXPECT_TRUE(WriteWhole("held", "new"));
  CloseHandle(held);
  EXPECT_EQ(Read("held"), "new");
  EXPECT_EQ(CountFiles("."), 3);
  command.Returned();
}

TEST_F(FileManager, AReadOnlyFileIsNotOverwrittenOrRemoved) {
  Write("locked", "keep");
  ASSERT_NE(SetFileAttributesA("locked", FILE_ATTRIBUTE_READONLY), 0);
  Write("new", "new");
  EXPECT_FALSE(WriteWhole("locked", "x"));
  EXPECT_FALSE(WriteWhole("locked", "x", 2 + 8));
  EXPECT_FALSE(TavFileManager::fileDelete("locked", -1));
  EXPECT_FALSE(TavFileManager::fileCopy("new", "locked", -1, -1, false));
  EXPECT_EQ(Read("locked"), "keep");
  EXPECT_TRUE(TavFileManager::fileRename("locked", "moved", -1));
  EXPECT_EQ(CountFiles("."), 2);
}

TEST_F(FileManager, CopyTakesAttributesOnlyWhenAsked) {
  Write("from", "x");
  const auto longAgo = std::filesystem::last_write_time("from") - std::chrono::hours(1000);
  std::filesystem::last_write_time("from", longAgo);
  SetFileAttributesA("from", FILE_ATTRIBUTE_READONLY);
  EXPECT_TRUE(TavFileManager::fileCopy("from", "with", -1, -1, true));
  EXPECT_NE(GetFileAttributesA("with") & FILE_ATTRIBUTE_READONLY, 0u);
  EXPECT_LT(std::filesystem::last_write_time("with"), longAgo + std::chrono::hours(1));
  EXPECT_TRUE(TavFileManager::fileCopy("from", "without", -1, -1, false));
  EXPECT_EQ(GetFileAttributesA("without") & FILE_ATTRIBUTE_READONLY, 0u);
  EXPECT_GT(std::filesystem::last_write_time("without"), longAgo + std::chrono::hours(1));
  EXPECT_EQ(Read("with"), "x");
  EXPECT_EQ(Read("without"), "x");
}

TEST_F(FileManager, CopyReplacesButNotItselfAndLeavesNothingBehind) {
  Write("from", "new");
  Write("to", "old contents");
  std::filesystem::create_directory("d");
  ASSERT_NE(CreateHardLinkA("hard", "from", nullptr), 0);
  EXPECT_TRUE(TavFileManager::fileCopy("from", "to", -1, -1, false));
  EXPECT_EQ(Read("to"), "new");
  for (const char* to : {"from", "FROM", ".\\d\\..\\from", "hard", "d", "none\\to", ""}) {
    EXPECT_FALSE(TavFileManager::fileCopy("from", to, -1, -1, false)) << to;
  }
  for (const char* from : {"missing", "d", ""}) {
    EXPECT_FALSE(TavFileManager::fileCopy(from, "to", -1, -1, false)) << from;
  }
  EXPECT_EQ(Read("from"), "new");
  EXPECT_EQ(Read("to"), "new");
  EXPECT_EQ(CountFiles("."), 3);
}

TEST_F(FileManager, RenameNeverReplaces) {
  Write("a", "1");
  Write("b", "2");
  EXPECT_FALSE(TavFileManager::fileRename("a", "b", -1));
  EXPECT_TRUE(TavFileManager::fileRename("a", "A", -1));
  EXPECT_TRUE(TavFileManager::fileRename("A", "c", -1));
  EXPECT_EQ(Read("b"), "2");
  EXPECT_EQ(Read("c"), "1");
}

TEST_F(FileManager, RelativeNamesAreResolvedAgainstTheProgramPath) {
  program_path::Set("C:\\scripts");
  EXPECT_STREQ(Tav_GetProgramPathFilename("sub/x").GetStr(), "C:\\scripts\\sub/x");
  for (const char* name : {"C:\\x", "\\x", "/x", "\\\\server\\x", "db:\\x", "DB:/..", ""}) {
    EXPECT_STREQ(Tav_GetProgramPathFilename(name).GetStr(), name);
  }
}

TEST_F(FileManager, ATemporaryFileIsNewAndEmpty) {
  const SV::String first = TavSystemFileManager::fileCreateTempName("tav", nullptr);
  const SV::String second = TavSystemFileManager::fileCreateTempName("tav", nullptr);
  EXPECT_FALSE(first == second);
  EXPECT_EQ(std::filesystem::file_size(first.GetStr()), 0u);
  EXPECT_TRUE(std::filesystem::remove(first.GetStr()));
  EXPECT_TRUE(std::filesystem::remove(second.GetStr()));
}

class DatabaseArea : public FileManager {};

TEST_F(DatabaseArea, NamesMatchWithoutCaseAndKeepTheirs) {
  EXPECT_TRUE(WriteWhole("db:\\Report.txt", "one"));
  EXPECT_EQ(ReadBack("DB:\\report.TXT"), "one");
  EXPECT_TRUE(WriteWhole("db:\\REPORT.TXT", " two", 2 + 8));
  Names names;
  EXPECT_TRUE(
      TavFileManager::getAllDBFilesOfDir(Tav_GetCoreVarConst(TavCoreVarDatabaseDirectory), names));
  ASSERT_EQ(names.size(), 1u);
  EXPECT_STREQ(names.begin()->GetStr(), "Report.txt");
  EXPECT_EQ(ReadBack("db:\\Report.txt"), "one two");
  EXPECT_TRUE(TavFileManager::fileRename("db:\\report.txt", "db:\\REPORT.txt", -1));
  // Some systems report success and keep the old case.
  Write("m1", "");
  ASSERT_NE(MoveFileA("m1", "M1"), 0);
  const bool caseChanges =
      std::filesystem::directory_iterator(".")->path().filename().string() == "M1";
  names.clear();
  TavFileManager::getAllDBFilesOfDir(0, names);
  EXPECT_STREQ(names.begin()->GetStr(), caseChanges ? "REPORT.txt" : "Report.txt");
}

TEST_F(DatabaseArea, EveryLibraryHasAFolderOfItsOwn) {
  EXPECT_TRUE(WriteWhole("db:\\x", "zero"));
  EXPECT_TRUE(WriteWhole("x", "five", 2, 5));
  EXPECT_TRUE(TavFileManager::fileCopy("x", "out", 5, -1, false));
  EXPECT_EQ(Read("out"), "five");
  EXPECT_FALSE(TavFileManager::fileCopy("missing", "x", -1, 8, false));
  EXPECT_FALSE(std::filesystem::exists("../area/8"));
  Names names;
  EXPECT_FALSE(TavFileManager::getAllDBFilesOfDir(-1, names));
  EXPECT_TRUE(TavFileManager::getAllDBFilesOfDir(99, names));
  EXPECT_TRUE(names.empty());
}

TEST_F(DatabaseArea, NoNameLeavesTheArea) {
  EXPECT_TRUE(WriteWhole("db:\\inside", "x"));
  Write("..\\secret", "secret");
  for (const char* name :
       {"db:\\..\\secret", "db:/../../secret", "db:\\..", "db:\\a:b", "db:\\con", "db:\\x."}) {
    EXPECT_EQ(ReadBack(name), "error 1") << name;
    EXPECT_FALSE(Exists(name)) << name;
    EXPECT_FALSE(WriteWhole(name, "overwritten")) << name;
    EXPECT_FALSE(TavFileManager::fileDelete(name, -1)) << name;
    EXPECT_FALSE(TavFileManager::fileCopy("db:\\inside", name, -1, -1, false)) << name;
    EXPECT_FALSE(TavFileManager::fileRename("db:\\inside", name, -1)) << name;
  }
  EXPECT_EQ(Read("..\\secret"), "secret");
}

TEST_F(DatabaseArea, AFileAppearsWholeWhenItIsClosed) {
  EXPECT_TRUE(WriteWhole("db:\\x", "old"));
  TavFileHandle handle = TavFileManager::fileOpenWrite("db:\\x", 2, -1);
  EXPECT_EQ(TavFileManager::fileWrite(handle, "new", 3), 3);
  EXPECT_EQ(ReadBack("db:\\x"), "old");
  EXPECT_FALSE(TavFileManager::fileDelete("db:\\X", -1));
  EXPECT_FALSE(TavFileManager::fileRename("db:\\x", "db:\\y", -1));
  EXPECT_TRUE(TavFileManager::fileClose(handle));
  EXPECT_EQ(ReadBack("db:\\x"), "new");
  EXPECT_EQ(CountFiles("..\\area\\0"), 1);
}

TEST_F(DatabaseArea, AReadOnlyFileIsNotReplaced) {
  Write("locked", "keep");
  SetFileAttributesA("locked", FILE_ATTRIBUTE_READONLY);
  EXPECT_TRUE(TavFileManager::fileCopy("locked", "db:\\x", -1, -1, true));
  EXPECT_EQ(TavFileManager::fileOpenWrite("db:\\x", 2, -1), 0);
  EXPECT_EQ(TavFileManager::fileOpenWrite("db:\\X", 2 + 8, -1), 0);
  EXPECT_FALSE(TavFileManager::fileDelete("db:\\x", -1));
  EXPECT_EQ(ReadBack("db:\\x"), "keep");
  EXPECT_EQ(CountFiles("..\\area\\0"), 1);
}

}  // namespace
