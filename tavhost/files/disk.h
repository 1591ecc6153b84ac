#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/base/string.h"

// Files of the file system as the host's libraries need them. The same guarantees hold on every
// system: no conversion of bytes, no half-written target, nothing replaced that is open for
// writing or read-only.
namespace disk {

// A path: a script's, in which `\` and `/` both separate, or the system's own, taken as it is.
struct Name {
  const char* text;
  bool isScripts = true;
};

bool IsFile(Name name);  // links followed; false for directories
// Something stands there that is no plain file: a directory, a link, a device. True as well when
// that cannot be told.
bool IsTakenByOther(Name name);
// A file that may be neither replaced nor written to.
bool IsReadOnly(Name name);
bool Delete(Name name);
// Replaces the target whole; a link is followed at the source and replaced at the target.
bool Copy(Name from, Name to, bool keepAttributes);
// Never replaces.
bool Rename(Name from, Name to);
// Replaces the target in one step.
bool Replace(Name from, Name to);

enum ReadCode : long { kRead = 0, kNotFound = 1, kUnreadable = 2, kTooLarge = 4 };

// Unless all has been read, the contents are empty.
ReadCode Read(Name name, SV::String& contents);

// A file open for writing. Others can read it meanwhile, but neither remove nor move it.
class OutputFile {
 public:
  virtual ~OutputFile() = default;
  // The number of bytes taken.
  virtual long Write(const char* data, long length) = 0;
  // False when not all that was written is stored.
  virtual bool Close() = 0;
};

// Null when the file cannot be opened. Without `append` an existing file is emptied.
std::unique_ptr<OutputFile> OpenForWriting(Name name, bool append);

// The path of a new empty file in the system's folder for temporary files; empty on failure.
std::string NewTemporaryFile(const std::string& prefix);
// Likewise in the folder of `path`, for what is to become `path`: its name begins with `.tavhost-`.
std::string NewFileBeside(const std::string& path);

bool IsAbsolute(const std::string& path);
// Whether a script can write this path of the system: not when a name in it holds what scripts take
// for a separator.
bool CanBeWritten(const std::string& path);
std::string Join(const std::string& folder, const std::string& name);
std::string FolderOf(const std::string& path);  // "." for a bare name
std::string CurrentFolder();                    // empty when it is gone
std::string UserDataFolder();                   // where this user's programs keep data
bool MakeFolders(const std::string& path);      // with all above it; true when it is there already

struct FolderContents {
  bool readable;                   // or not there at all
  std::vector<std::string> files;  // plain files only
};
FolderContents FilesOf(const std::string& folder);

}  // namespace disk
