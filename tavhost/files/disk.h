#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/base/string.h"
#include "tavhost/base/result.h"
#include "tavhost/base/whole_file.h"

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
// The path is a name for standard output or standard error: what is written there goes where the
// program writes itself, in the order in which both write.
bool IsStandardStream(Name name);
bool Delete(Name name);
// A plain file of the host's own, at a path of the system: read-only or not.
void RemoveLeftover(const std::string& path);
// Replaces the target whole; a link is followed at the source and replaced at the target. A target
// that is replaced keeps its owner and mode. Leaves with stop::Stopped when a stop is asked for.
struct CopyOptions {
  bool keepAttributes = false;  // also take the read-only attribute and the time of change
  bool synced = false;          // on the disk, name and all, at the end
};
bool Copy(Name from, Name to, const CopyOptions& options);
// Never replaces.
bool Rename(Name from, Name to);

enum ReadCode : long { kRead = 0, kNotFound = 1, kUnreadable = 2, kTooLarge = 4 };

// Unless all has been read, the contents are empty.
ReadCode Read(Name name, SV::String& contents);
// Whether this user may read a plain file at a path of the system.
bool MayRead(const std::string& path);

// A file open for writing. Others can read it meanwhile, but neither remove nor move it.
class OutputFile {
 public:
  virtual ~OutputFile() = default;
  // The number of bytes taken. Leaves with stop::Stopped when a stop is asked for.
  virtual long Write(const char* data, long length) = 0;
  // The command that opened it has ended, and it stays open.
  virtual base::Result<void> StayOpen() = 0;
  // False when it is not stored because not all was taken, which Write has told; fails when what
  // was taken could not be stored.
  virtual base::Result<bool> Close() = 0;
};

// Null when the file cannot be opened. Without `append` an existing file is emptied. What is
// written is in the file at once.
std::unique_ptr<OutputFile> OpenForWriting(Name name, bool append);
// For a text that takes the place of the whole file: whole or not at all, when the file is closed.
// Where it has to stay open, and where there is nothing to replace (pipes and devices, a file that
// the host holds open already), this is as above, without `append`.
std::unique_ptr<OutputFile> OpenForReplacing(Name name);
// The new contents alone, without what others see of an OutputFile.
base::Result<std::unique_ptr<base::WholeFile>> OpenWhole(Name name,
                                                         const base::WholeFile::Options& options);

// Where temporary files go: a folder that a script can name, from wherever its paths count.
std::string TemporaryFolder();
// The path of a new empty file there; empty on failure.
std::string NewTemporaryFile(const std::string& prefix);

bool IsAbsolute(const std::string& path);
// Not a drive on a system without drives, made plain first (`x/../k:`), nor a pattern.
bool CanNameFile(const char* path);
// Whether a script can write this path of the system: not when a name in it holds what scripts take
// for a separator.
bool CanBeWritten(const std::string& path);
std::string Join(const std::string& folder, const std::string& name);
// The same place by a path in which no `..` stands behind a name. Behind a link the system goes
// another way than the text, so this asks where it goes. Nothing when that cannot be told.
std::optional<std::string> WithoutWayUp(const std::string& path);
std::string FolderOf(const std::string& path);  // "." for a bare name
std::string CurrentFolder();                    // empty when it is gone
std::string UserDataFolder();                   // where this user's programs keep data
bool MakeFolders(const std::string& path);      // with all above it; true when it is there already

// A path of any length, as functions take it that refuse what is longer than the system takes at
// once. Good until the next one.
std::string ShortPath(const std::string& path);
// Whether a directory at the one path can take a name in the other without being copied. Both are
// there; false when it cannot be told.
bool IsOneFileSystem(const std::string& path, const std::string& folder);

struct FolderContents {
  bool readable;                   // or not there at all
  std::vector<std::string> files;  // plain files only
};
FolderContents FilesOf(const std::string& folder);

}  // namespace disk
