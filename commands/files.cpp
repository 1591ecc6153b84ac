// Files and directories: reading, writing, copying, moving, deleting and listing them.
#include <functional>
#include <new>
#include <set>

#include "commands/files_search.h"
#include "commands/files_trees.h"
#include "commands/handlers.h"
#include "commands/support/checks.h"
#include "commands/support/long_command.h"
#include "commands/support/paths.h"
#include "commands/support/results.h"
#include "host/base/string.h"
#include "host/files/base64.h"
#include "host/files/core_variables.h"
#include "host/files/database_names.h"
#include "host/files/dir_entry.h"
#include "host/files/file_manager.h"
#include "host/files/system_file_manager.h"
#include "host/notation/kel_parser.h"
#include "host/system/error_message.h"
#include "host/windows/directories.h"
#include "host/windows/windows.h"

namespace commands {

namespace {

// The parameters of these commands.
constexpr names::Literal kFile = "file";
constexpr names::Literal kBinary = "binary";
constexpr names::Literal kBase64 = "base64";
constexpr names::Literal kAppend = "append";
constexpr names::Literal kPath = "path";
constexpr names::Literal kOpen = "open";
constexpr names::Literal kClose = "close";
constexpr names::Literal kText = "text";
constexpr names::Literal kFrom = "from";
constexpr names::Literal kTo = "to";
constexpr names::Literal kCopyFileAttributes = "copy-file-attributes";
constexpr names::Literal kNoOverwrite = "no-overwrite";
constexpr names::Literal kOverwriteExistingDir = "overwrite-existing-dir";
constexpr names::Literal kFileMask = "filemask";
constexpr names::Literal kFromLibraryId = "from-libraryid";
constexpr names::Literal kToLibraryId = "to-libraryid";

constexpr long kNoLibrary = -1;
constexpr char kListSeparator = '*';  // never part of a file's name

// The file that FWRITE keeps open from `open` to `close`, across scripts too.
TavFileHandle openWriteFile = 0;

// The number by which the host's error report names the failure to make a temporary file. It stands
// where a source line would, but is fixed, so that reports of all versions can be compared.
constexpr char kSourceFile[] = "commands/files.cpp";
constexpr int kTemporaryNameLine = 724;

// Owns the buffer that one of the base64 functions made; they may make one even when they fail.
class Base64Buffer {
 public:
  using Convert = bool (*)(const char*, unsigned long, char*&, unsigned long&);

  Base64Buffer(Convert convert, const SV::String& data)
      : success_(convert(data.GetStr(), static_cast<unsigned long>(data.Len()), buffer_, length_)) {
  }
  Base64Buffer(const Base64Buffer&) = delete;
  Base64Buffer& operator=(const Base64Buffer&) = delete;
  ~Base64Buffer() { ::operator delete(buffer_); }

  bool Succeeded() const { return success_; }
  bool HasBuffer() const { return buffer_ != nullptr; }
  const char* Text() const { return buffer_; }
  SV::String Bytes() const {
    return buffer_ ? SV::String(buffer_, static_cast<long>(length_)) : SV::String();
  }

 private:
  char* buffer_ = nullptr;
  unsigned long length_ = 0;
  bool success_;
};

int OpenMode(bool binary, bool append) {
  return TavFileManager::kWrite + (binary ? TavFileManager::kBinary : 0) +
         (append ? TavFileManager::kAppend : 0);
}

// Names of the database file area stay as they are; others count from the script's folder.
TavFileHandle OpenForWriting(const SV::String& file, bool binary, bool append) {
  const char* name = paths::ForSystem(file);
  const SV::String path =
      Tav_Valid_DBFilename(name) ? SV::String(name) : Tav_GetProgramPathFilename(name);
  return TavFileManager::fileOpenWrite(path.GetStr(), OpenMode(binary, append), kNoLibrary);
}

// Opens `file` for the FWRITE commands that follow. When one is open already, that one is not
// closed: its handle is forgotten, and no command can close it any more.
void OpenWriteFile(TavKelParser& parser, TavScriptResult& result) {
  if (checks::Fails(parser, kFile, TavKelString, result, checks::kRequired)) return;
  const SV::String file = parser.GetStrValue(kFile);
  const bool binary = parser.GetBoolValue(kBinary, false);
  const bool base64 = parser.GetBoolValue(kBase64, false);
  const bool append = parser.GetBoolValue(kAppend, false);

  openWriteFile = OpenForWriting(file, binary || base64, append);

  results::SetInteger(result, "ecode", openWriteFile != 0 ? 0 : 1);
}

void CloseWriteFile(TavScriptResult& result) {
  const bool wasOpen = openWriteFile != 0;
  if (wasOpen) TavFileManager::fileClose(openWriteFile);
  results::SetInteger(result, "ecode", wasOpen ? 0 : 1);
}

// The `ecode` of FWRITE. kRefused: the text is no base64, or `file` is given while a file is open;
// kNoFile: no file is open, and none is given.
enum WriteCode { kWritten = 0, kNotOpened = 1, kShortWrite = 2, kRefused = 3, kNoFile = 4 };

WriteCode WriteTo(TavFileHandle handle, const SV::String& data, long& written) {
  written = TavFileManager::fileWrite(handle, data.GetStr(), data.Len());
  return written == data.Len() ? kWritten : kShortWrite;
}

// What ENCODE and DECODE convert: the bytes of `file` when it is given (none when it cannot be
// read), else the main value. False when a check failed and the command must return at once.
bool ReadConversionInput(TavKelParser& parser, TavScriptResult& result, SV::String& data) {
  if (parser.IsContained(kFile)) {
    if (checks::Fails(parser, kFile, TavKelString, result, checks::kRequired)) return false;
    TavSystemFileManager::readStringFromFile(data, parser.GetStrValue(kFile), true);
    return true;
  }
  if (checks::Fails(parser, checks::kMainValue, TavKelString, result, checks::kRequired)) {
    return false;
  }
  data = parser.GetStrValue();
  return true;
}

inline bool FileExists(TavKelParser& parser) {
  return TavFileManager::fileExists(parser.GetStrValue(kFile), kNoLibrary, false);
}

bool DeleteFileOf(TavKelParser& parser) {
  return TavFileManager::fileDelete(parser.GetStrValue(kFile), kNoLibrary);
}

// The library that the parameter names; without it the file system.
long LibraryId(TavKelParser& parser, names::Literal name) {
  return parser.IsContained(name) ? parser.GetIntValue(name) : kNoLibrary;
}

// A list of names, each followed by the separator.
void AppendName(SV::String& list, const char* name) {
  list += name;
  list += kListSeparator;
}

void DropLastSeparator(SV::String& list) {
  if (list.Len() > 0) list.Erase(list.Len() - 1, 1);
}

// Calls a function of the C runtime on `path`; it returns 0 when it succeeded.
void CallWithPath(int (*function)(const char*), TavKelParser& parser, TavScriptResult& result) {
  if (checks::Fails(parser, kPath, TavKelString, result, checks::kRequired)) return;
  SV::String path;
  const bool success = parser.TryGetStrValue(kPath, path) && function(paths::ForSystem(path)) == 0;
  results::SetInteger(result, "ecode", success ? 0 : 1);
}

}  // namespace

void Command_FREAD(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (checks::Fails(parser, kFile, TavKelString, result, checks::kRequired)) return;
  const SV::String file = parser.GetStrValue(kFile);
  const bool binary = parser.GetBoolValue(kBinary, false);
  const bool base64 = parser.GetBoolValue(kBase64, false);

  constexpr long kNotEncoded = 3;
  SV::String contents;
  long code = TavSystemFileManager::readStringFromFile(contents, file, binary || base64);
  if (code == 0 && base64) {
    const Base64Buffer encoded(Tav_NewBase64Encode, contents);
    if (encoded.Succeeded() && encoded.HasBuffer()) contents = encoded.Text();
    code = encoded.Succeeded() ? 0 : kNotEncoded;
  }

  results::SetInteger(result, "ecode", code);
  results::SetString(result, "text", contents);
}

void Command_FWRITE(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (parser.IsContained(kOpen)) return OpenWriteFile(parser, result);
  if (parser.IsContained(kClose)) return CloseWriteFile(result);

  if (checks::Fails(parser, kText, TavKelString, result, checks::kRequired)) return;
  SV::String data = parser.GetStrValue(kText);
  const bool base64 = parser.GetBoolValue(kBase64, false);
  WriteCode code = kWritten;
  long written = 0;
  if (base64) {
    const Base64Buffer decoded(Tav_NewBase64Decode, data);
    if (!decoded.Succeeded()) code = kRefused;
    data = decoded.Bytes();
  }
  if (code == kWritten && !parser.IsContained(kFile)) {
    code = openWriteFile != 0 ? WriteTo(openWriteFile, data, written) : kNoFile;
  } else if (code == kWritten && openWriteFile != 0) {
    code = kRefused;
  } else if (code == kWritten) {
    if (checks::Fails(parser, kFile, TavKelString, result, checks::kRequired)) return;
    const SV::String file = parser.GetStrValue(kFile);
    const bool binary = parser.GetBoolValue(kBinary, false);
    const bool append = parser.GetBoolValue(kAppend, false);
    TavFileHandle handle = OpenForWriting(file, binary || base64, append);
    if (handle != 0) {
      code = WriteTo(handle, data, written);
      TavFileManager::fileClose(handle);
    } else {
      code = kNotOpened;
    }
  }

  results::SetInteger(result, "ecode", code);
  results::SetInteger(result, "written", written);
}

void Command_ENCODE(const char*, TavKelParser& parser, TavScriptResult& result) {
  SV::String data;
  if (!ReadConversionInput(parser, result, data)) return;

  const Base64Buffer encoded(Tav_NewBase64Encode, data);
  data = SV::String();  // gives its memory back before the result takes as much again

  results::SetInteger(result, "ecode", encoded.Succeeded() ? 0 : 1);
  results::SetString(result, "text",
                     encoded.Succeeded() && encoded.HasBuffer() ? encoded.Text() : "");
}

void Command_DECODE(const char*, TavKelParser& parser, TavScriptResult& result) {
  SV::String data;
  if (!ReadConversionInput(parser, result, data)) return;

  const Base64Buffer decoded(Tav_NewBase64Decode, data);

  results::SetInteger(result, "ecode", decoded.Succeeded() ? 0 : 1);
  results::SetString(result, "text", decoded.HasBuffer() ? decoded.Text() : "");
}

void Command_GET_TEMP_FILENAME(const char*, TavKelParser&, TavScriptResult& result) {
  const SV::String name = TavSystemFileManager::fileCreateTempName("tav", nullptr);
  if (name.Len() == 0) {
    displayErrorMessage(kSourceFile, kTemporaryNameLine);
    return;
  }
  results::SetString(result, "filename", name);
}

void Command_FILE_EXIST(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (checks::Fails(parser, kFile, TavKelString, result, checks::kRequired)) return;
  results::SetInteger(result, "exist", FileExists(parser) ? 1 : 0);
}

void Command_FILE_EXISTS(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (checks::Fails(parser, kFile, TavKelString, result, checks::kRequired)) return;
  results::SetInteger(result, "exists", FileExists(parser) ? 1 : 0);
}

void Command_FDELETE(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (checks::Fails(parser, kFile, TavKelString, result, checks::kRequired)) return;
  results::SetInteger(result, "ecode", DeleteFileOf(parser) ? 1 : 0);
}

void Command_FILE_DELETE(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (checks::Fails(parser, kFile, TavKelString, result, checks::kRequired)) return;
  results::SetInteger(result, "ecode", DeleteFileOf(parser) ? 0 : 1);
}

void Command_DELETE_FILES(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (checks::Fails(parser, checks::kMainValue, TavKelString, result, checks::kRequired)) return;
  const bool success = DeleteTree(parser.GetStrValue());
  results::SetInteger(result, "ecode", success ? 0 : 1);
}

void Command_FCOPY(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (checks::Fails(parser, kFrom, TavKelString, result, checks::kRequired)) return;
  if (checks::Fails(parser, kTo, TavKelString, result, checks::kRequired)) return;
  const SV::String from = parser.GetStrValue(kFrom);
  const SV::String to = parser.GetStrValue(kTo);

  const bool copied = TavFileManager::fileCopy(paths::ForSystem(from), paths::ForSystem(to),
                                               kNoLibrary, kNoLibrary, false);

  results::SetInteger(result, "ecode", copied ? 1 : 0);
}

void Command_FILE_COPY(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (checks::Fails(parser, kFrom, TavKelString, result, checks::kRequired)) return;
  if (checks::Fails(parser, kTo, TavKelString, result, checks::kRequired)) return;
  if (checks::Fails(parser, kFromLibraryId, TavKelInteger, result, checks::kOptional)) return;
  if (checks::Fails(parser, kToLibraryId, TavKelInteger, result, checks::kOptional)) return;
  const SV::String from = parser.GetStrValue(kFrom);
  const SV::String to = parser.GetStrValue(kTo);
  const long fromLibraryId = LibraryId(parser, kFromLibraryId);
  const long toLibraryId = LibraryId(parser, kToLibraryId);
  const bool copyAttributes = parser.IsContained(kCopyFileAttributes);

  const bool copied = TavFileManager::fileCopy(paths::ForSystem(from), paths::ForSystem(to),
                                               fromLibraryId, toLibraryId, copyAttributes);

  results::SetInteger(result, "ecode", copied ? 0 : 1);
}

void Command_COPY_FILES(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (checks::Fails(parser, checks::kMainValue, TavKelString, result, checks::kRequired)) return;
  if (checks::Fails(parser, kTo, TavKelString, result, checks::kRequired)) return;
  CopyFlags flags;
  flags.keepExistingFiles = parser.IsContained(kNoOverwrite);
  flags.fillExistingFolders = parser.IsContained(kOverwriteExistingDir);

  const bool success = CopyTree(parser.GetStrValue(), parser.GetStrValue(kTo), flags);

  results::SetInteger(result, "ecode", success ? 0 : 1);
}

void Command_MOVE_FILES(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (checks::Fails(parser, checks::kMainValue, TavKelString, result, checks::kRequired)) return;
  if (checks::Fails(parser, kTo, TavKelString, result, checks::kRequired)) return;

  const bool success = MoveTree(parser.GetStrValue(), parser.GetStrValue(kTo));

  results::SetInteger(result, "ecode", success ? 0 : 1);
}

void Command_FILE_RENAME(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (checks::Fails(parser, kFrom, TavKelString, result, checks::kRequired)) return;
  if (checks::Fails(parser, kTo, TavKelString, result, checks::kRequired)) return;
  const SV::String from = parser.GetStrValue(kFrom);
  const SV::String to = parser.GetStrValue(kTo);

  const bool renamed =
      TavFileManager::fileRename(paths::ForSystem(from), paths::ForSystem(to), kNoLibrary);

  results::SetInteger(result, "ecode", renamed ? 0 : 1);
}

void Command_GET_CWD(const char*, TavKelParser&, TavScriptResult& result) {
  SV::DirEntry current(SV::FSYS_FLAG_CURRENT);
  current.ToAbs();
  results::SetString(result, "cwd", current.GetFull());
}

void Command_SET_CWD(const char*, TavKelParser& parser, TavScriptResult& result) {
  CallWithPath(_chdir, parser, result);
}

void Command_DIR_EXIST(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (checks::Fails(parser, kPath, TavKelString, result, checks::kRequired)) return;
  const DWORD attributes = GetFileAttributesA(paths::ForSystem(parser.GetStrValue(kPath)));
  const bool exists =
      attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  results::SetInteger(result, "exist", exists ? 1 : 0);
}

void Command_DIR_CREATE(const char*, TavKelParser& parser, TavScriptResult& result) {
  CallWithPath(_mkdir, parser, result);
}

void Command_DIR_REMOVE(const char*, TavKelParser& parser, TavScriptResult& result) {
  CallWithPath(_rmdir, parser, result);
}

void Command_DIR_LIST(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (checks::Fails(parser, kPath, TavKelString, result, checks::kRequired)) return;
  if (checks::Fails(parser, kFileMask, TavKelString, result, checks::kOptional)) return;
  SV::String pattern = WithBackslash(parser.GetStrValue(kPath));
  SV::String mask("*");
  parser.TryGetStrValue(kFileMask, mask);
  pattern += mask;

  FileSearch search(pattern);
  if (!search.Found()) {
    results::SetInteger(result, "ecode", 1);
    return;
  }
  SV::String files;
  SV::String directories;
  LongCommand command;
  do {
    command.BetweenSteps();
    if (!search.IsDirectory()) {
      AppendName(files, search.Name());
    } else if (!search.IsDots()) {
      AppendName(directories, search.Name());
    }
  } while (search.Next());
  DropLastSeparator(files);
  DropLastSeparator(directories);

  results::SetString(result, "files", files);
  results::SetString(result, "dirs", directories);
  results::SetInteger(result, "ecode", 0);
}

void Command_IS_DIR_EMPTY(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (checks::Fails(parser, kPath, TavKelString, result, checks::kRequired)) return;
  SV::String pattern = WithBackslash(parser.GetStrValue(kPath));
  pattern += '*';

  bool isEmpty = false;
  const bool searched = TestDirectoryEmpty(paths::ForSystem(pattern), isEmpty);

  results::SetInteger(result, "ecode", searched ? 0 : 1);
  if (searched) results::SetInteger(result, "isempty", isEmpty ? 1 : 0);
}

void Command_DB_FILE_LIST(const char*, TavKelParser&, TavScriptResult& result) {
  const long directory = Tav_GetCoreVarConst(TavCoreVarDatabaseDirectory);
  std::set<SV::String, std::less<SV::String>> names;
  if (!TavFileManager::getAllDBFilesOfDir(directory, names)) {
    results::SetInteger(result, "ecode", 1);
    return;
  }
  SV::String files;
  for (const SV::String& name : names) AppendName(files, name.GetStr());
  DropLastSeparator(files);

  results::SetString(result, "files", files);
  results::SetInteger(result, "ecode", 0);
}

}  // namespace commands
