#pragma once

#include "commands/files_find.h"
#include "commands/support/paths.h"
#include "host/base/string.h"
#include "host/windows/windows.h"

namespace commands {

// A search for the entries that a pattern finds, standing on the first of them when there is one.
// Its destructor ends it.
class FileSearch {
 public:
  explicit FileSearch(const char* pattern) : handle_(FindTypes(pattern, &entry_)) {}
  explicit FileSearch(const SV::String& pattern) : FileSearch(paths::ForSystem(pattern)) {}
  FileSearch(const FileSearch&) = delete;
  FileSearch& operator=(const FileSearch&) = delete;
  ~FileSearch() {
    if (Found()) FindClose(handle_);
  }

  bool Found() const { return handle_ != INVALID_HANDLE_VALUE; }
  bool Next() { return FindNextFileA(handle_, &entry_) != 0; }

  HANDLE Handle() const { return handle_; }
  const WIN32_FIND_DATAA& Entry() const { return entry_; }
  const char* Name() const { return entry_.cFileName; }
  bool IsDirectory() const { return (entry_.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0; }
  bool IsLink() const { return (entry_.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0; }
  // Whether the entry is "." or "..": names that only begin with a dot are ordinary ones.
  bool IsDots() const {
    const char* name = entry_.cFileName;
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
  }

 private:
  WIN32_FIND_DATAA entry_;
  HANDLE handle_;
};

// `path` with a backslash behind it unless it ends in one.
inline SV::String WithBackslash(const SV::String& path) {
  SV::String result = path;
  if (result.GetChar(result.Len() - 1) != '\\') result += '\\';
  return result;
}

}  // namespace commands
