// The file commands on a host that does what the test wants, in place of the real one.
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "commands/handlers.h"
#include "host/files/base64.h"
#include "host/files/core_variables.h"
#include "host/files/database_names.h"
#include "host/files/file_manager.h"
#include "host/files/system_file_manager.h"
#include "host/notation/kel_parser.h"
#include "host/notation/kel_value.h"
#include "host/notation/kel_value_set.h"
#include "host/script/script_result.h"
#include "host/script/type_check.h"
#include "host/system/error_message.h"
#include "tavhost/notation/scope.h"
#include "tavhost/notation/value.h"

namespace {

using Lines = std::vector<std::string>;

// What the base64 functions handed out and nobody has freed yet.
std::array<void*, 4> handedOut{};
int freedBuffers = 0;

}  // namespace

void* operator new(std::size_t size) {
  if (void* memory = std::malloc(size ? size : 1)) return memory;
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
  for (void*& buffer : handedOut) {
    if (!memory || buffer != memory) continue;
    buffer = nullptr;
    ++freedBuffers;
  }
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept { ::operator delete(memory); }

namespace {

struct Fake {
  Lines calls;
  long readCode = 0;
  std::string contents = "contents";
  bool converts = true;
  bool makesBuffer = true;
  std::string converted = "converted";
  TavFileHandle handle = 7;
  long taken = -1;  // of what is to be written; -1: all
  bool succeeds = true;
  bool isDatabaseName = false;
  std::string temporaryName = "/tmp/tav1";
  std::vector<std::string> stored;
} fake;

std::string Quoted(std::string_view text) { return '"' + std::string(text) + '"'; }
std::string Words() { return ""; }
template <typename... Rest>
std::string Words(const std::string& first, const Rest&... rest) {
  const std::string others = Words(rest...);
  return others.empty() ? first : first + ' ' + others;
}

template <typename... Parts>
void Call(const Parts&... parts) {
  fake.calls.push_back(Words(parts...));
}

std::string Number(long number) { return std::to_string(number); }
std::string Flag(bool flag) { return flag ? "true" : "false"; }

bool Convert(const char* name, const char* data, unsigned long length, char*& buffer,
             unsigned long& newLength) {
  Call(name, Quoted({data, length}));
  buffer = nullptr;
  newLength = 0;
  if (!fake.makesBuffer) return fake.converts;
  newLength = static_cast<unsigned long>(fake.converted.size());
  buffer = static_cast<char*>(::operator new(fake.converted.size() + 1));
  std::memcpy(buffer, fake.converted.c_str(), fake.converted.size() + 1);
  for (void*& place : handedOut) {
    if (place) continue;
    place = buffer;
    break;
  }
  return fake.converts;
}

}  // namespace

long TavSystemFileManager::readStringFromFile(SV::String& contents, const SV::String& path,
                                              bool binary) {
  Call("read", Quoted(path.View()), Flag(binary));
  contents = SV::String(fake.contents.data(), static_cast<long>(fake.contents.size()));
  return fake.readCode;
}
SV::String TavSystemFileManager::fileCreateTempName(const char* prefix, const char* second) {
  Call("temporary", Quoted(prefix), second ? "text" : "null");
  return SV::String(fake.temporaryName.c_str());
}
TavFileHandle TavFileManager::fileOpenWrite(const char* path, int mode, long libraryId) {
  Call("open", Quoted(path), Number(mode), Number(libraryId));
  return fake.handle;
}
long TavFileManager::fileWrite(TavFileHandle handle, const char* data, long length) {
  Call("write", Number(handle), Quoted({data, static_cast<std::size_t>(length)}));
  return fake.taken < 0 ? length : fake.taken;
}
bool TavFileManager::fileClose(TavFileHandle& handle) {
  Call("close", Number(handle));
  handle = 0;
  return fake.succeeds;
}
bool TavFileManager::fileExists(const SV::String& path, long libraryId, bool unused) {
  Call("exists", Quoted(path.View()), Number(libraryId), Flag(unused));
  return fake.succeeds;
}
bool TavFileManager::fileDelete(const SV::String& path, long libraryId) {
  Call("delete", Quoted(path.View()), Number(libraryId));
  return fake.succeeds;
}
bool TavFileManager::fileCopy(const char* from, const char* to, long fromLibraryId,
                              long toLibraryId, bool copyAttributes) {
  Call("copy", Quoted(from), Quoted(to), Number(fromLibraryId), Number(toLibraryId),
       Flag(copyAttributes));
  return fake.succeeds;
}
bool TavFileManager::fileRename(const char* from, const char* to, long libraryId) {
  Call("rename", Quoted(from), Quoted(to), Number(libraryId));
  return fake.succeeds;
}
bool TavFileManager::getAllDBFilesOfDir(long directoryId,
                                        std::set<SV::String, std::less<SV::String>>& names) {
  Call("list", Number(directoryId));
  for (const std::string& name : fake.stored) names.insert(SV::String(name.c_str()));
  return fake.succeeds;
}
bool Tav_NewBase64Encode(const char* data, unsigned long length, char*& buffer,
                         unsigned long& newLength) {
  return Convert("encode", data, length, buffer, newLength);
}
bool Tav_NewBase64Decode(const char* data, unsigned long length, char*& buffer,
                         unsigned long& newLength) {
  return Convert("decode", data, length, buffer, newLength);
}
bool Tav_Valid_DBFilename(const char* name) {
  Call("valid", Quoted(name));
  return fake.isDatabaseName;
}
SV::String Tav_GetProgramPathFilename(const char* name) {
  Call("resolve", Quoted(name));
  return SV::String(("scripts/" + std::string(name)).c_str());
}
long Tav_GetCoreVarConst(TavCoreVarType variable) {
  Call("variable", Number(variable));
  return 42;
}
void displayErrorMessage(const char* sourceFile, int line) {
  Call("error", Quoted(sourceFile), Number(line));
}

namespace {

using Handler = void (*)(const char*, TavKelParser&, TavScriptResult&);

void Send(Handler handler, const SV::String& command, TavScriptResult& result) {
  TavKelParser parser(command);
  EXPECT_EQ(parser.Parse(), 0) << command.View();
  handler(parser.GetCurElemName().GetStr(), parser, result);
}

std::string Reply(Handler handler, const char* command) {
  TavScriptResult result;
  Send(handler, command, result);
  return std::string(result.GetText().View());
}

class FileCommands : public testing::Test {
 protected:
  void SetUp() override {
    fake = {};
    freedBuffers = 0;
    Tav_EnableGlobalTypeChecking(true);
  }
  void TearDown() override {
    Reply(commands::Command_FWRITE, "FWRITE close");
    for (const void* buffer : handedOut) EXPECT_EQ(buffer, nullptr) << "not freed";
  }

  static std::string FRead(const char* command) { return Reply(commands::Command_FREAD, command); }
  static std::string FWrite(const char* command) {
    return Reply(commands::Command_FWRITE, command);
  }
  // The calls since this was asked last.
  static Lines Calls() { return std::exchange(fake.calls, {}); }
};

TEST_F(FileCommands, FReadTakesThePathAsItIsAndAsksForBytesWhenToldSo) {
  EXPECT_EQ(FRead("FREAD file:\"a\\\\b\""), " ecode:0 text:\"contents\"");
  EXPECT_EQ(FRead("FREAD file:\"a\" binary"), " ecode:0 text:\"contents\"");
  EXPECT_EQ(FRead("FREAD file:\"a\" binary:false base64:no"), " ecode:0 text:\"contents\"");
  EXPECT_EQ(FRead("FREAD file:\"a\" base64"), " ecode:0 text:\"converted\"");
  EXPECT_EQ(Calls(), (Lines{"read \"a\\b\" false", "read \"a\" true", "read \"a\" false",
                            "read \"a\" true", "encode \"contents\""}));
}

TEST_F(FileCommands, FReadHandsBackTheHostsCodeAndWhatItLeft) {
  for (const long code : {1L, 2L, 3L, 4L, -5L, 99L}) {
    fake.readCode = code;
    const std::string reply = " ecode:" + Number(code) + " text:\"contents\"";
    EXPECT_EQ(FRead("FREAD file:\"a\""), reply);
    EXPECT_EQ(FRead("FREAD file:\"a\" base64"), reply);
  }
  for (const std::string& call : Calls()) EXPECT_FALSE(call.starts_with("encode")) << call;
}

TEST_F(FileCommands, FReadKeepsTheRawContentsWhenEncodingFails) {
  fake.contents = std::string("a\0b", 3);
  fake.converts = false;
  EXPECT_EQ(FRead("FREAD file:\"a\" base64"), " ecode:3 text:\"a\\0b\"");
  EXPECT_EQ(freedBuffers, 1);
  fake.makesBuffer = false;
  EXPECT_EQ(FRead("FREAD file:\"a\" base64"), " ecode:3 text:\"a\\0b\"");
}

TEST_F(FileCommands, FReadKeepsTheRawContentsWhenTheEncoderMadeNoBuffer) {
  fake.makesBuffer = false;
  EXPECT_EQ(FRead("FREAD file:\"a\" base64"), " ecode:0 text:\"contents\"");
}

TEST_F(FileCommands, FReadTakesTheEncodedTextUpToItsEnd) {
  fake.converted = std::string("YQ\0==", 5);
  EXPECT_EQ(FRead("FREAD file:\"a\" base64"), " ecode:0 text:\"YQ\"");
  EXPECT_EQ(freedBuffers, 1);
  fake.contents = "";
  fake.converted = "";
  EXPECT_EQ(FRead("FREAD file:\"a\" base64"), " ecode:0 text:\"\"");
  fake.converts = false;
  EXPECT_EQ(FRead("FREAD file:\"a\" base64"), " ecode:3 text:\"\"");
}

TEST_F(FileCommands, FReadKeepsZeroBytesHoweverTheResultIsWanted) {
  const std::string bytes("\0a\0\xFF\0", 5);
  fake.contents = bytes;
  EXPECT_EQ(FRead("FREAD file:\"a\" binary"), " ecode:0 text:\"\\0a\\0\xFF\\0\"");
  TavKelValueSet variables;
  TavScriptResult toSet(&variables);
  Send(commands::Command_FREAD, "FREAD file:\"a\" binary", toSet);
  EXPECT_EQ(kel::Scope::Of(variables).ReadOwn("text")->Text().View(), bytes);
  TavKelValue object(TavKelRecord);
  TavScriptResult toObject(&object);
  Send(commands::Command_FREAD, "FREAD file:\"a\" binary", toObject);
  EXPECT_EQ(kel::Value::Of(object).AsRecord().Find("text")->Text().View(), bytes);
}

TEST_F(FileCommands, FWriteOpensWithTheModeOfItsFlags) {
  EXPECT_EQ(FWrite("FWRITE open file:\"a\""), " ecode:0");
  EXPECT_EQ(FWrite("FWRITE open file:\"a\" binary append"), " ecode:0");
  EXPECT_EQ(FWrite("FWRITE open file:\"a\" base64"), " ecode:0");
  fake.isDatabaseName = true;
  EXPECT_EQ(FWrite("FWRITE open file:\"db:\\\\a\" append"), " ecode:0");
  EXPECT_EQ(Calls(),
            (Lines{"valid \"a\"", "resolve \"a\"", "open \"scripts/a\" 2 -1", "valid \"a\"",
                   "resolve \"a\"", "open \"scripts/a\" 42 -1", "valid \"a\"", "resolve \"a\"",
                   "open \"scripts/a\" 34 -1", "valid \"db:\\a\"", "open \"db:\\a\" 10 -1"}));
}

TEST_F(FileCommands, FWriteChoosesTheFormByWhatIsThereWhateverItSays) {
  EXPECT_EQ(FWrite("FWRITE text:\"t\" close:false open:false file:\"a\""), " ecode:0");
  EXPECT_EQ(FWrite("FWRITE text:\"t\" close:no"), " ecode:0");
  EXPECT_EQ(Calls(), (Lines{"valid \"a\"", "resolve \"a\"", "open \"scripts/a\" 2 -1", "close 7"}));
  EXPECT_EQ(FWrite("FWRITE open close"), " error:\"FWRITE: parameter \\\"file\\\" is missing\"");
  EXPECT_EQ(Calls(), Lines());
}

TEST_F(FileCommands, FWriteForgetsAnOpenFileWithoutClosingIt) {
  FWrite("FWRITE open file:\"a\"");
  fake.handle = 8;
  FWrite("FWRITE open file:\"b\"");
  EXPECT_EQ(FWrite("FWRITE text:\"x\""), " ecode:0 written:1");
  fake.handle = 0;
  Calls();
  EXPECT_EQ(FWrite("FWRITE open file:\"c\""), " ecode:1");
  EXPECT_EQ(FWrite("FWRITE text:\"x\""), " ecode:4 written:0");
  EXPECT_EQ(FWrite("FWRITE close"), " ecode:1");
  EXPECT_EQ(Calls(), (Lines{"valid \"c\"", "resolve \"c\"", "open \"scripts/c\" 2 -1"}));
}

TEST_F(FileCommands, FWriteIgnoresWhatClosingReturns) {
  fake.succeeds = false;
  FWrite("FWRITE open file:\"a\"");
  EXPECT_EQ(FWrite("FWRITE close"), " ecode:0");
  EXPECT_EQ(FWrite("FWRITE close"), " ecode:1");
  EXPECT_EQ(FWrite("FWRITE file:\"a\" text:\"x\""), " ecode:0 written:1");
}

TEST_F(FileCommands, FWriteSaysHowMuchWasTaken) {
  FWrite("FWRITE open file:\"a\"");
  fake.taken = 2;
  Calls();
  EXPECT_EQ(FWrite("FWRITE text:\"abc\""), " ecode:2 written:2");
  EXPECT_EQ(FWrite("FWRITE text:\"ab\""), " ecode:0 written:2");
  FWrite("FWRITE close");
  EXPECT_EQ(Calls(), (Lines{"write 7 \"abc\"", "write 7 \"ab\"", "close 7"}));
  EXPECT_EQ(FWrite("FWRITE file:\"b\" text:\"abc\""), " ecode:2 written:2");
  EXPECT_EQ(Calls(), (Lines{"valid \"b\"", "resolve \"b\"", "open \"scripts/b\" 2 -1",
                            "write 7 \"abc\"", "close 7"}));
  EXPECT_EQ(FWrite("FWRITE text:\"abc\""), " ecode:4 written:0") << "its handle was its own";
}

TEST_F(FileCommands, FWriteWritesNothingAsWell) {
  EXPECT_EQ(FWrite("FWRITE file:\"a\" text:\"\""), " ecode:0 written:0");
  EXPECT_EQ(Calls(), (Lines{"valid \"a\"", "resolve \"a\"", "open \"scripts/a\" 2 -1",
                            "write 7 \"\"", "close 7"}));
}

TEST_F(FileCommands, FWriteToAFileThatCannotBeOpenedWritesAndClosesNothing) {
  fake.handle = 0;
  EXPECT_EQ(FWrite("FWRITE file:\"a\" text:\"x\" append"), " ecode:1 written:0");
  EXPECT_EQ(Calls(), (Lines{"valid \"a\"", "resolve \"a\"", "open \"scripts/a\" 10 -1"}));
}

TEST_F(FileCommands, FWriteWritesTheDecodedBytesByTheirCount) {
  fake.converted = std::string("a\0b\0", 4);
  EXPECT_EQ(FWrite("FWRITE file:\"a\" text:\"YQ==\" base64"), " ecode:0 written:4");
  EXPECT_EQ(Calls(),
            (Lines{"decode \"YQ==\"", "valid \"a\"", "resolve \"a\"", "open \"scripts/a\" 34 -1",
                   "write 7 \"" + fake.converted + "\"", "close 7"}));
  EXPECT_EQ(freedBuffers, 1);
  FWrite("FWRITE open file:\"a\"");
  Calls();
  EXPECT_EQ(FWrite("FWRITE text:\"YQ==\" base64"), " ecode:0 written:4");
  EXPECT_EQ(FWrite("FWRITE text:\"YQ==\" base64:false"), " ecode:0 written:4");
  EXPECT_EQ(Calls(),
            (Lines{"decode \"YQ==\"", "write 7 \"" + fake.converted + "\"", "write 7 \"YQ==\""}));
}

TEST_F(FileCommands, FWriteFailsAtTheTextBeforeItLooksForAFile) {
  fake.converts = false;
  EXPECT_EQ(FWrite("FWRITE text:\"!\" base64"), " ecode:3 written:0");
  EXPECT_EQ(FWrite("FWRITE text:\"!\" base64 file:\"a\""), " ecode:3 written:0");
  EXPECT_EQ(FWrite("FWRITE text:\"!\" base64 file:5"), " ecode:3 written:0");
  FWrite("FWRITE open file:\"a\"");
  EXPECT_EQ(FWrite("FWRITE text:\"!\" base64"), " ecode:3 written:0");
  EXPECT_EQ(freedBuffers, 4);
  fake.makesBuffer = false;
  EXPECT_EQ(FWrite("FWRITE text:\"!\" base64"), " ecode:3 written:0");
  for (const std::string& call : Calls()) EXPECT_FALSE(call.starts_with("write")) << call;
}

TEST_F(FileCommands, FWriteRefusesAFileWhileOneIsOpenAndDoesNotCheckIt) {
  FWrite("FWRITE open file:\"a\"");
  Calls();
  EXPECT_EQ(FWrite("FWRITE text:\"x\" file:\"b\""), " ecode:3 written:0");
  EXPECT_EQ(FWrite("FWRITE text:\"x\" file:5"), " ecode:3 written:0");
  EXPECT_EQ(Calls(), Lines());
  FWrite("FWRITE close");
  EXPECT_EQ(FWrite("FWRITE text:\"x\" file:5"),
            " error:\"FWRITE: parameter \\\"file\\\" must be a string, not an integer\"");
}

TEST_F(FileCommands, FWriteWritesZeroBytesOfTheText) {
  FWrite("FWRITE open file:\"a\"");
  Calls();
  EXPECT_EQ(FWrite("FWRITE text:\"\\0x\\0\""), " ecode:0 written:3");
  EXPECT_EQ(Calls(), (Lines{"write 7 \"" + std::string("\0x\0", 3) + "\""}));
}

TEST_F(FileCommands, EncodeAndDecodeReadTheFileAsBytesWhateverTheHostSays) {
  fake.readCode = 1;
  fake.contents = std::string("left\0over", 9);
  const std::string data = '"' + fake.contents + '"';
  EXPECT_EQ(Reply(commands::Command_ENCODE, "ENCODE \"main\" file:\"a\""),
            " ecode:0 text:\"converted\"");
  EXPECT_EQ(Reply(commands::Command_DECODE, "DECODE \"main\" file:\"a\""),
            " ecode:0 text:\"converted\"");
  EXPECT_EQ(Calls(),
            (Lines{"read \"a\" true", "encode " + data, "read \"a\" true", "decode " + data}));
  EXPECT_EQ(freedBuffers, 2);
}

TEST_F(FileCommands, EncodeAndDecodeTakeTheWholeMainValue) {
  Reply(commands::Command_ENCODE, "ENCODE \"a\\0b\"");
  Reply(commands::Command_DECODE, "DECODE \"c\\0d\"");
  EXPECT_EQ(Calls(), (Lines{"encode \"" + std::string("a\0b", 3) + "\"",
                            "decode \"" + std::string("c\0d", 3) + "\""}));
  EXPECT_EQ(Reply(commands::Command_ENCODE, "ENCODE \"x\" file"),
            " error:\"ENCODE: parameter \\\"file\\\" must be a string, not a modifier\"");
}

TEST_F(FileCommands, EncodeShowsTextOnSuccessAloneDecodeWheneverThereIsABuffer) {
  fake.converted = std::string("ab\0c", 4);
  for (const bool converts : {true, false}) {
    fake.converts = converts;
    const std::string code = converts ? " ecode:0" : " ecode:1";
    fake.makesBuffer = true;
    EXPECT_EQ(Reply(commands::Command_ENCODE, "ENCODE \"x\""),
              code + (converts ? " text:\"ab\"" : " text:\"\""));
    EXPECT_EQ(Reply(commands::Command_DECODE, "DECODE \"x\""), code + " text:\"ab\"");
    fake.makesBuffer = false;
    EXPECT_EQ(Reply(commands::Command_ENCODE, "ENCODE \"x\""), code + " text:\"\"");
    EXPECT_EQ(Reply(commands::Command_DECODE, "DECODE \"x\""), code + " text:\"\"");
  }
  EXPECT_EQ(freedBuffers, 4);
}

TEST_F(FileCommands, ATemporaryNameIsTheOnlyResult) {
  EXPECT_EQ(Reply(commands::Command_GET_TEMP_FILENAME, "GET_TEMP_FILENAME"),
            " filename:\"/tmp/tav1\"");
  fake.temporaryName = "";
  EXPECT_EQ(Reply(commands::Command_GET_TEMP_FILENAME, "GET_TEMP_FILENAME"), "");
  const Lines calls = Calls();
  ASSERT_EQ(calls.size(), 3u);
  EXPECT_EQ(calls[0], "temporary \"tav\" null");
  EXPECT_EQ(calls[1], "temporary \"tav\" null");
  EXPECT_TRUE(calls[2].starts_with("error \"") && calls[2].ends_with("commands/files.cpp\" 724"))
      << calls[2];
}

TEST_F(FileCommands, TwinsMakeTheSameCallAndSayItTheirOwnWay) {
  struct Twin {
    Handler handler;
    const char* command;
    const char* call;
    const char* done;
    const char* failed;
  };
  const Twin twins[] = {
      {commands::Command_FILE_EXIST, "FILE_EXIST file:\"a\"", "exists \"a\" -1 false", " exist:1",
       " exist:0"},
      {commands::Command_FILE_EXISTS, "FILE_EXISTS file:\"a\"", "exists \"a\" -1 false",
       " exists:1", " exists:0"},
      {commands::Command_FDELETE, "FDELETE file:\"a\"", "delete \"a\" -1", " ecode:1", " ecode:0"},
      {commands::Command_FILE_DELETE, "FILE_DELETE file:\"a\"", "delete \"a\" -1", " ecode:0",
       " ecode:1"},
      {commands::Command_FCOPY,
       "FCOPY from:\"a\" to:\"b\" from-libraryid:1 to-libraryid:2 copy-file-attributes",
       "copy \"a\" \"b\" -1 -1 false", " ecode:1", " ecode:0"},
      {commands::Command_FILE_COPY, "FILE_COPY from:\"a\" to:\"b\"", "copy \"a\" \"b\" -1 -1 false",
       " ecode:0", " ecode:1"},
      {commands::Command_FILE_COPY, "FILE_COPY from:\"a\" to:\"b\" from-libraryid:0",
       "copy \"a\" \"b\" 0 -1 false", " ecode:0", " ecode:1"},
      {commands::Command_FILE_COPY,
       "FILE_COPY from:\"a\" to:\"b\" to-libraryid:0 copy-file-attributes:false",
       "copy \"a\" \"b\" -1 0 true", " ecode:0", " ecode:1"},
      {commands::Command_FILE_RENAME, "FILE_RENAME from:\"a\" to:\"b\"", "rename \"a\" \"b\" -1",
       " ecode:0", " ecode:1"},
  };
  for (const Twin& twin : twins) {
    fake.succeeds = true;
    EXPECT_EQ(Reply(twin.handler, twin.command), twin.done) << twin.command;
    fake.succeeds = false;
    EXPECT_EQ(Reply(twin.handler, twin.command), twin.failed) << twin.command;
    EXPECT_EQ(Calls(), (Lines{twin.call, twin.call})) << twin.command;
  }
}

TEST_F(FileCommands, AFailedCheckCallsNothing) {
  const std::pair<Handler, const char*> commands[] = {
      {commands::Command_FREAD, "FREAD file:1"},
      {commands::Command_FWRITE, "FWRITE open file:1"},
      {commands::Command_FWRITE, "FWRITE text:1 file:\"a\""},
      {commands::Command_FWRITE, "FWRITE file:\"a\""},
      {commands::Command_ENCODE, "ENCODE file:1"},
      {commands::Command_DECODE, "DECODE"},
      {commands::Command_FILE_EXIST, "FILE_EXIST file"},
      {commands::Command_FILE_EXISTS, "FILE_EXISTS"},
      {commands::Command_FDELETE, "FDELETE file:1"},
      {commands::Command_FILE_DELETE, "FILE_DELETE file:1"},
      {commands::Command_FCOPY, "FCOPY from:\"a\" to:1"},
      {commands::Command_FILE_COPY, "FILE_COPY from:\"a\" to:\"b\" to-libraryid:\"0\""},
      {commands::Command_FILE_RENAME, "FILE_RENAME from:1 to:\"b\""},
  };
  for (const auto& [handler, command] : commands) {
    const std::string reply = Reply(handler, command);
    EXPECT_TRUE(reply.starts_with(" error:\"")) << reply;
    EXPECT_EQ(reply.find(" ecode:"), std::string::npos) << reply;
  }
  EXPECT_EQ(Calls(), Lines());
}

TEST_F(FileCommands, TheDatabaseFilesAreSortedByTheirBytes) {
  fake.stored = {"b", "a", "B", "\xC3\xA4", "_"};
  EXPECT_EQ(Reply(commands::Command_DB_FILE_LIST, "DB_FILE_LIST"),
            " files:\"B*_*a*b*\xC3\xA4\" ecode:0");
  EXPECT_EQ(Calls(), (Lines{"variable 2", "list 42"}));
  fake.stored = {};
  EXPECT_EQ(Reply(commands::Command_DB_FILE_LIST, "DB_FILE_LIST"), " files:\"\" ecode:0");
  fake.stored = {"half a list"};
  fake.succeeds = false;
  EXPECT_EQ(Reply(commands::Command_DB_FILE_LIST, "DB_FILE_LIST"), " ecode:1");
}

}  // namespace
