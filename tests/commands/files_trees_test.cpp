// The recursive commands and the directory commands on a disk that the test makes up: which calls
// they make, in which order, and what they do when one fails.
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "commands/files_trees.h"
#include "commands/handlers.h"
#include "host/notation/kel_parser.h"
#include "host/script/script_result.h"
#include "host/script/type_check.h"
#include "host/windows/directories.h"
#include "host/windows/files.h"

namespace {

using Lines = std::vector<std::string>;

struct Entry {
  const char* name;
  DWORD attributes = FILE_ATTRIBUTE_NORMAL;
};
using Entries = std::vector<Entry>;

constexpr DWORD kFolder = FILE_ATTRIBUTE_DIRECTORY;
constexpr DWORD kLink = FILE_ATTRIBUTE_REPARSE_POINT;
constexpr Entry kDot{".", kFolder};
constexpr Entry kDots{"..", kFolder};

struct Disk {
  Lines calls;
  std::map<std::string, Entries> searches;  // by pattern; what is not here is not found
  std::set<std::string> failing;            // calls, as they stand in `calls`
  std::map<std::string, DWORD> attributes;  // a directory when it is not here
  std::map<int, std::pair<Entries, std::size_t>> open;
  int lastSearch = 0;
} disk;

bool Call(const std::string& call) {
  disk.calls.push_back(call);
  return disk.failing.count(call) == 0;
}

void Show(const Entry& entry, WIN32_FIND_DATAA* data) {
  *data = {};
  data->dwFileAttributes = entry.attributes;
  std::string(entry.name).copy(data->cFileName, MAX_PATH - 1);
}

int NumberOf(HANDLE handle) { return static_cast<int>(reinterpret_cast<std::intptr_t>(handle)); }

}  // namespace

HANDLE FindFirstFileA(LPCSTR pattern, WIN32_FIND_DATAA* data) {
  Call(std::string("find ") + pattern);
  const auto found = disk.searches.find(pattern);
  if (found == disk.searches.end()) return INVALID_HANDLE_VALUE;
  disk.open[++disk.lastSearch] = {found->second, 1};
  Show(found->second[0], data);
  return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(disk.lastSearch));
}
BOOL FindNextFileA(HANDLE handle, WIN32_FIND_DATAA* data) {
  auto& [entries, next] = disk.open.at(NumberOf(handle));
  if (next == entries.size()) return FALSE;
  Show(entries[next++], data);
  return TRUE;
}
BOOL FindClose(HANDLE handle) {
  Call("end " + std::to_string(NumberOf(handle)));
  EXPECT_EQ(disk.open.erase(NumberOf(handle)), 1u);
  return TRUE;
}
DWORD GetFileAttributesA(LPCSTR path) {
  Call(std::string("attributes ") + path);
  const auto found = disk.attributes.find(path);
  return found == disk.attributes.end() ? kFolder : found->second;
}
BOOL CreateDirectoryA(LPCSTR path, SECURITY_ATTRIBUTES* unused) {
  EXPECT_EQ(unused, nullptr);
  return Call(std::string("make ") + path);
}
BOOL RemoveDirectoryA(LPCSTR path) { return Call(std::string("remove ") + path); }
BOOL DeleteFileA(LPCSTR path) { return Call(std::string("delete ") + path); }
BOOL CopyFileA(LPCSTR from, LPCSTR to, BOOL failIfExists) {
  return Call(std::string("copy ") + from + " " + to + (failIfExists ? " keep" : ""));
}
BOOL MoveFileA(LPCSTR from, LPCSTR to) { return Call(std::string("move ") + from + " " + to); }
int _chdir(const char* path) { return Call(std::string("chdir ") + path) ? 0 : -1; }
int _mkdir(const char* path) { return Call(std::string("mkdir ") + path) ? 0 : -1; }
int _rmdir(const char* path) { return Call(std::string("rmdir ") + path) ? 0 : -1; }

namespace {

using Handler = void (*)(const char*, TavKelParser&, TavScriptResult&);

std::string Reply(Handler handler, const char* command) {
  TavKelParser parser{SV::String(command)};
  EXPECT_EQ(parser.Parse(), 0) << command;
  TavScriptResult result;
  handler("COMMAND", parser, result);
  return std::string(result.GetText().View());
}

class FileTrees : public testing::Test {
 protected:
  void SetUp() override {
    disk = {};
    Tav_EnableGlobalTypeChecking(true);
  }
  void TearDown() override { EXPECT_TRUE(disk.open.empty()) << "a search was not closed"; }

  static std::string Delete(const char* command) {
    return Reply(commands::Command_DELETE_FILES, command);
  }
  static std::string Copy(const char* command) {
    return Reply(commands::Command_COPY_FILES, command);
  }
  static std::string Move(const char* command) {
    return Reply(commands::Command_MOVE_FILES, command);
  }
  static std::string List(const char* command) {
    return Reply(commands::Command_DIR_LIST, command);
  }
  static std::string IsEmpty(const char* command) {
    return Reply(commands::Command_IS_DIR_EMPTY, command);
  }
  static Lines Calls() { return std::exchange(disk.calls, {}); }
};

TEST_F(FileTrees, DeleteGoesDownInTheOrderOfTheSearchAndClosesItBeforeRemoving) {
  disk.searches["t\\*"] = {kDot, kDots, {"z"}, {"sub", kFolder}, {"a"}};
  disk.searches["t\\sub"] = {{"sub", kFolder}};
  disk.searches["t\\sub\\*"] = {kDot, kDots, {"x"}};
  EXPECT_EQ(Delete("D \"t\\\\*\""), " ecode:0");
  EXPECT_EQ(Calls(), (Lines{"find t\\*", "delete t\\z", "find t\\sub", "end 2", "find t\\sub\\*",
                            "delete t/sub\\x", "end 3", "remove t\\sub", "delete t\\a", "end 1"}));
}

TEST_F(FileTrees, DeleteStopsAtWhateverFails) {
  disk.searches["t\\*"] = {kDot, {"sub", kFolder}, {"z"}};
  disk.searches["t\\sub"] = {{"sub", kFolder}};
  disk.searches["t\\sub\\*"] = {kDot, {"x"}, {"y"}};
  disk.failing = {"delete t/sub\\x"};
  EXPECT_EQ(Delete("D \"t\\\\*\""), " ecode:1");
  EXPECT_EQ(Calls(), (Lines{"find t\\*", "find t\\sub", "end 2", "find t\\sub\\*",
                            "delete t/sub\\x", "end 3", "end 1"}));
  disk.failing = {"remove t\\sub"};
  EXPECT_EQ(Delete("D \"t\\\\*\""), " ecode:1");
  EXPECT_EQ(disk.calls.back(), "end 4");
  EXPECT_EQ(disk.calls[disk.calls.size() - 2], "remove t\\sub");
  Calls();
  disk.searches.erase("t\\sub");  // gone before it was looked into
  EXPECT_EQ(Delete("D \"t\\\\*\""), " ecode:1");
  EXPECT_EQ(Calls(), (Lines{"find t\\*", "find t\\sub", "end 7"}));
}

TEST_F(FileTrees, DeleteRemovesAnEmptyDirectoryWithoutGoingDownWhenTheTestSaysSo) {
  disk.searches["d"] = {{"d", kFolder}};
  disk.searches[".\\d"] = {kDot, kDots};
  EXPECT_EQ(Delete("D \"d\""), " ecode:0");
  EXPECT_EQ(Calls(), (Lines{"find d", "find .\\d", "end 2", "remove .\\d", "end 1"}));
}

TEST_F(FileTrees, ALinkIsALeafOfEveryCommand) {
  disk.searches["t\\*"] = {{"to-dir", kFolder | kLink}, {"to-file", kLink}};
  EXPECT_EQ(Delete("D \"t\\\\*\""), " ecode:0");
  EXPECT_EQ(Calls(), (Lines{"find t\\*", "remove t\\to-dir", "delete t\\to-file", "end 1"}));
  EXPECT_EQ(Copy("C \"t\\\\*\" to:\"o\""), " ecode:0");
  EXPECT_EQ(Calls(), (Lines{"attributes o", "find t\\*", "copy t\\to-dir o\\to-dir",
                            "copy t\\to-file o\\to-file", "end 2"}));
  EXPECT_EQ(Move("M \"t\\\\*\" to:\"o\""), " ecode:0");
  EXPECT_EQ(Calls(), (Lines{"attributes o", "find t\\*", "move t\\to-dir o\\to-dir",
                            "move t\\to-file o\\to-file", "end 3"}));
  disk.failing = {"remove t\\to-dir"};
  EXPECT_EQ(Delete("D \"t\\\\*\""), " ecode:1");
}

TEST_F(FileTrees, OnlyDotsIsASuccessOfEveryCommandNothingIsAFailure) {
  disk.searches["t\\.*"] = {kDot, kDots};
  EXPECT_EQ(Delete("D \"t\\\\.*\""), " ecode:0");
  EXPECT_EQ(Copy("C \"t\\\\.*\" to:\"o\""), " ecode:0");
  EXPECT_EQ(Move("M \"t\\\\.*\" to:\"o\""), " ecode:0");
  EXPECT_EQ(Delete("D \"t\\\\*.x\""), " ecode:1");
  EXPECT_EQ(Copy("C \"t\\\\*.x\" to:\"o\""), " ecode:1");
  EXPECT_EQ(Move("M \"t\\\\*.x\" to:\"o\""), " ecode:1");
}

TEST_F(FileTrees, NamesOfDotsAreSkippedOnlyWhenTheyAreOneOrTwo) {
  disk.searches["t\\*"] = {{"."}, {".."}, {"..."}, {".x"}, {"..x"}};
  EXPECT_EQ(Delete("D \"t\\\\*\""), " ecode:0");
  EXPECT_EQ(Calls(),
            (Lines{"find t\\*", "delete t\\...", "delete t\\.x", "delete t\\..x", "end 1"}));
}

TEST_F(FileTrees, TheSourceGetsASeparatorWhenItLacksOneTheTargetAlways) {
  disk.searches["x*"] = {{"x"}};
  disk.searches["a/b\\x"] = {{"x"}};
  disk.searches["\\x"] = {{"x"}};
  EXPECT_EQ(Copy("C \"x*\" to:\"o\""), " ecode:0");
  EXPECT_EQ(Copy("C \"a/b\\\\x\" to:\"o\\\\\""), " ecode:0");
  EXPECT_EQ(Copy("C \"\\\\x\" to:\"o/\""), " ecode:0");
  EXPECT_EQ(Calls(), (Lines{"attributes o", "find x*", "copy .\\x o\\x", "end 1", "attributes o\\",
                            "find a/b\\x", "copy a/b\\x o\\\\x", "end 2", "attributes o/",
                            "find \\x", "copy /\\x o/\\x", "end 3"}));
}

TEST_F(FileTrees, CopyPassesBothFlagsDown) {
  disk.searches["t\\*"] = {{"f"}, {"sub", kFolder}};
  disk.searches["t\\sub\\*"] = {kDot, {"deep", kFolder}, {"x"}};
  disk.searches["t/sub\\deep\\*"] = {kDot, {"y"}};
  disk.failing = {"make o\\sub", "make o\\sub\\deep"};
  const Lines filled = {"attributes o",
                        "find t\\*",
                        "copy t\\f o\\f keep",
                        "make o\\sub",
                        "attributes o\\sub",
                        "find t\\sub\\*",
                        "make o\\sub\\deep",
                        "attributes o\\sub\\deep",
                        "find t/sub\\deep\\*",
                        "copy t/sub/deep\\y o\\sub\\deep\\y keep",
                        "end 3",
                        "copy t/sub\\x o\\sub\\x keep",
                        "end 2",
                        "end 1"};
  EXPECT_EQ(Copy("C \"t\\\\*\" to:\"o\" no-overwrite:false overwrite-existing-dir:false"),
            " ecode:0");
  EXPECT_EQ(Calls(), filled);
  EXPECT_EQ(Copy("C \"t\\\\*\" to:\"o\" no-overwrite"), " ecode:1");
  EXPECT_EQ(Calls(),
            (Lines{"attributes o", "find t\\*", "copy t\\f o\\f keep", "make o\\sub", "end 4"}));
  EXPECT_EQ(Copy("C \"t\\\\*\" to:\"o\""), " ecode:1");
  EXPECT_EQ(Calls()[2], "copy t\\f o\\f");
}

TEST_F(FileTrees, CopyWithoutADirectoryToFillFailsInTheTestOfTheTarget) {
  disk.searches["sub"] = {{"sub", kFolder}, {"z"}};
  disk.failing = {"make o\\sub"};
  for (const DWORD attributes : {INVALID_FILE_ATTRIBUTES, FILE_ATTRIBUTE_NORMAL}) {
    disk.attributes["o\\sub"] = attributes;
    EXPECT_EQ(Copy("C \"sub\" to:\"o\" overwrite-existing-dir"), " ecode:1");
    EXPECT_EQ(Calls(), (Lines{"attributes o", "find sub", "make o\\sub", "attributes o\\sub",
                              "end " + std::to_string(disk.lastSearch)}));
  }
}

TEST_F(FileTrees, CopyStopsAtTheFirstThatFails) {
  disk.searches["t\\*"] = {{"a"}, {"b"}, {"c"}};
  disk.failing = {"copy t\\b o\\b"};
  EXPECT_EQ(Copy("C \"t\\\\*\" to:\"o\""), " ecode:1");
  EXPECT_EQ(Calls(),
            (Lines{"attributes o", "find t\\*", "copy t\\a o\\a", "copy t\\b o\\b", "end 1"}));
}

TEST_F(FileTrees, WhatFindsTheTargetItselfFailsBeforeItIsSearchedFor) {
  disk.searches["*"] = {{"a"}, {"o", kFolder}};
  disk.searches["t\\*"] = {{"a"}, {"in", kFolder}};
  disk.searches["t"] = {{"t", kFolder}};
  for (const char* command : {"C \"*\" to:\"o\"", "C \"t\\\\*\" to:\"t\\\\in\\\\deep\"",
                              "C \"t\\\\i?\" to:\"x/../t/in\"", "C \"t/*.*\" to:\"./t/in\""}) {
    EXPECT_EQ(Copy(command), " ecode:1");
    EXPECT_EQ(Calls().size(), 1u) << command;
    EXPECT_EQ(Move(command), " ecode:1");
    EXPECT_EQ(Calls().size(), 1u) << command;
  }
  EXPECT_EQ(Copy("C \"t\" to:\"t\""), " ecode:1");
  EXPECT_EQ(Calls(), (Lines{"attributes t", "attributes t"}));
  disk.attributes["t"] = kFolder | kLink;  // a link is copied as itself, into what it leads to
  disk.searches["t"] = {{"t", kFolder | kLink}};
  EXPECT_EQ(Copy("C \"t\" to:\"t\\\\in\""), " ecode:0");
  EXPECT_EQ(Calls().back(), "end 1");
}

TEST_F(FileTrees, TheTargetIsLookedAtBeforeAnythingElse) {
  for (const DWORD attributes :
       {INVALID_FILE_ATTRIBUTES, FILE_ATTRIBUTE_NORMAL, FILE_ATTRIBUTE_READONLY}) {
    disk.attributes["o"] = attributes;
    EXPECT_EQ(Copy("C \"*\" to:\"o\" overwrite-existing-dir"), " ecode:1");
    EXPECT_EQ(Move("M \"*\" to:\"o\""), " ecode:1");
    EXPECT_EQ(Calls(), (Lines{"attributes o", "attributes o"}));
  }
}

TEST_F(FileTrees, MoveMakesEmptiesAndRemovesDirectories) {
  disk.searches["t\\*"] = {kDot, {"sub", kFolder}, {"z"}};
  disk.searches["t\\sub\\*"] = {kDot, {"x"}, {"y"}};
  EXPECT_EQ(Move("M \"t\\\\*\" to:\"o\""), " ecode:0");
  EXPECT_EQ(Calls(), (Lines{"attributes o", "find t\\*", "make o\\sub", "attributes o\\sub",
                            "find t\\sub\\*", "move t/sub\\x o\\sub\\x", "move t/sub\\y o\\sub\\y",
                            "end 2", "remove t\\sub", "move t\\z o\\z", "end 1"}));
  disk.failing = {"move t/sub\\y o\\sub\\y"};
  EXPECT_EQ(Move("M \"t\\\\*\" to:\"o\""), " ecode:1");
  EXPECT_EQ(Calls(), (Lines{"attributes o", "find t\\*", "make o\\sub", "attributes o\\sub",
                            "find t\\sub\\*", "move t/sub\\x o\\sub\\x", "move t/sub\\y o\\sub\\y",
                            "end 4", "end 3"}));
  disk.failing = {"remove t\\sub"};
  EXPECT_EQ(Move("M \"t\\\\*\" to:\"o\""), " ecode:1");
  EXPECT_EQ(Calls().back(), "end 5");
}

TEST_F(FileTrees, MoveNeverFillsADirectoryThatIsThere) {
  disk.searches["t\\*"] = {{"sub", kFolder}, {"z"}};
  disk.failing = {"make o\\sub"};
  EXPECT_EQ(Move("M \"t\\\\*\" to:\"o\" overwrite-existing-dir"), " ecode:1");
  EXPECT_EQ(Calls(), (Lines{"attributes o", "find t\\*", "make o\\sub", "end 1"}));
}

TEST_F(FileTrees, TheTestForEmptinessSaysEmptyWhenItCannotLook) {
  bool isEmpty = false;
  EXPECT_FALSE(commands::TestDirectoryEmpty("none\\*", isEmpty));
  EXPECT_TRUE(isEmpty);
  disk.searches["d\\*"] = {kDot, kDots};
  isEmpty = false;
  EXPECT_TRUE(commands::TestDirectoryEmpty("d\\*", isEmpty));
  EXPECT_TRUE(isEmpty);
  disk.searches["d\\*"] = {kDot, kDots, {"...", kFolder}};
  EXPECT_TRUE(commands::TestDirectoryEmpty("d\\*", isEmpty));
  EXPECT_FALSE(isEmpty);
}

TEST_F(FileTrees, IsDirEmptySearchesForEverything) {
  disk.searches["d\\*"] = {kDot, kDots};
  disk.searches["d/\\*"] = {kDot, kDots, {"sub", kFolder}};
  EXPECT_EQ(IsEmpty("I path:\"d\""), " ecode:0 isempty:1");
  EXPECT_EQ(IsEmpty("I path:\"d\\\\\""), " ecode:0 isempty:1");
  EXPECT_EQ(IsEmpty("I path:\"d/\""), " ecode:0 isempty:0");
  EXPECT_EQ(IsEmpty("I path:\"none\""), " ecode:1");
  EXPECT_EQ(Calls(), (Lines{"find d\\*", "end 1", "find d\\*", "end 2", "find d/\\*", "end 3",
                            "find none\\*"}));
}

TEST_F(FileTrees, ListsKeepTheOrderOfTheSearch) {
  disk.searches["d\\*"] = {
      kDot, kDots, {"z"}, {"q", kFolder}, {"b"}, {"a", kFolder}, {"l", kFolder | kLink}};
  EXPECT_EQ(List("L path:\"d\""), " files:\"z*b\" dirs:\"q*a*l\" ecode:0");
  disk.searches["d\\*"] = {{"."}, {".."}, {"...", kFolder}};
  EXPECT_EQ(List("L path:\"d\\\\\""), " files:\".*..\" dirs:\"...\" ecode:0");
  disk.searches["d\\*"] = {kDot};
  EXPECT_EQ(List("L path:\"d\""), " files:\"\" dirs:\"\" ecode:0");
}

TEST_F(FileTrees, ListsTakeTheMaskAsItIs) {
  disk.searches["\\m*"] = {{"m"}};
  EXPECT_EQ(List("L path:\"\" filemask:\"m*\""), " files:\"m\" dirs:\"\" ecode:0");
  EXPECT_EQ(List("L path:\"d\" filemask:\"\""), " ecode:1");
  EXPECT_EQ(List("L path:\"d/\" filemask:\"?\""), " ecode:1");
  EXPECT_EQ(Calls(), (Lines{"find \\m*", "end 1", "find d\\", "find d/\\?"}));
  Tav_EnableGlobalTypeChecking(false);
  EXPECT_EQ(List("L path:\"d\" filemask:5"), " ecode:1");
  EXPECT_EQ(Calls(), (Lines{"find d\\*"}));
}

TEST_F(FileTrees, OneDirectoryCommandsCallTheRuntimeOnce) {
  const std::pair<Handler, std::string> runtime[] = {{commands::Command_SET_CWD, "chdir"},
                                                     {commands::Command_DIR_CREATE, "mkdir"},
                                                     {commands::Command_DIR_REMOVE, "rmdir"}};
  for (const auto& [handler, name] : runtime) {
    disk.failing = {name + " bad"};
    EXPECT_EQ(Reply(handler, "X path:\"a\\\\b\""), " ecode:0");
    EXPECT_EQ(Reply(handler, "X path:\"bad\""), " ecode:1");
    EXPECT_EQ(Calls(), (Lines{name + " a\\b", name + " bad"}));
    Tav_EnableGlobalTypeChecking(false);
    EXPECT_EQ(Reply(handler, "X path:5"), " ecode:1");
    EXPECT_EQ(Reply(handler, "X"), " ecode:1");
    EXPECT_EQ(Calls(), Lines());
    Tav_EnableGlobalTypeChecking(true);
  }
}

TEST_F(FileTrees, ADirectoryExistsByItsBitAlone) {
  for (const auto& [attributes, exist] :
       std::map<DWORD, const char*>{{kFolder, " exist:1"},
                                    {kFolder | kLink | FILE_ATTRIBUTE_READONLY, " exist:1"},
                                    {FILE_ATTRIBUTE_NORMAL, " exist:0"},
                                    {kLink, " exist:0"},
                                    {INVALID_FILE_ATTRIBUTES, " exist:0"}}) {
    disk.attributes["d"] = attributes;
    EXPECT_EQ(Reply(commands::Command_DIR_EXIST, "X path:\"d\""), exist) << attributes;
  }
}

}  // namespace
