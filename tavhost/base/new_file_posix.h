#pragma once

#include <sys/types.h>

#include <string>

#include "tavhost/base/descriptor_posix.h"

// How a file takes the place of another in one step. False with errno set.
namespace base {

// Gives `from` the name `to`, unless that exists.
bool RenameWithoutReplacing(int fromDirectory, const char* from, int toDirectory, const char* to);
// The same for a file by a second name, after which the old one goes: a process that dies between
// leaves both. Unlike a rename it takes no longer in deep folders.
bool MoveBySecondName(int fromDirectory, const char* from, int toDirectory, const char* to);

// Puts the names in a folder on the disk. Where a folder cannot be read, or its file system has no
// such order, there is nothing to be done.
class FolderSync {
 public:
  // Before the names change: what can fail here has changed nothing yet.
  bool Open(int directory, const char* path);
  bool Sync() const;

 private:
  Descriptor folder_;
};

// Both at once.
bool SyncFolder(int directory, const char* path);

// A file, or a link, under a temporary name (`.tavhost-NUMBER-NUMBER.tmp`) in the folder in which
// it is to stand, until it takes the name it is made for. Whatever fails, and wherever the process
// dies, that name stands for nothing, for what it stood for before, or for all of the new file.
class NewFile {
 public:
  // As the system's `...at` functions take a name. Both must outlive this object.
  NewFile(int directory, const char* name) : directory_(directory), target_(name) {}
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;
  ~NewFile();  // removes what has not taken its name

  bool Create(mode_t mode);
  bool CreateLink(const char* text);
  int Descriptor() const { return file_.Get(); }  // for reading and writing
  const char* TemporaryName() const { return name_.c_str(); }
  bool Close() { return file_.Close(); }

  // Nothing may have the name yet, or whatever has it goes, but for a folder.
  bool TakeFreeName();
  bool ReplaceName();
  // As TakeFreeName, in folders so deep that to rename takes long (MoveBySecondName).
  bool TakeFreeNameBesides();

 private:
  void MakeName();

  int directory_;
  const char* target_;
  base::Descriptor file_;
  bool exists_ = false;
  std::string name_;
};

}  // namespace base
