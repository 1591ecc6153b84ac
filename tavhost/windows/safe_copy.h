#pragma once

#include "tavhost/windows/walk.h"

// Copies that never show a half-written file: the new contents are written under a temporary name
// in the target's folder, every write and the closing checked, and renamed to the target at the
// end. Whatever fails, and wherever the process dies, the target is absent, old or complete.
namespace windows {

struct CopyOptions {
  bool replace = false;         // an existing target; otherwise it makes the copy fail
  bool keepAttributes = false;  // also the read-only attribute and the modification time
  bool followLink = false;      // copy what the link stands for, not the link
  bool sync = false;            // on the disk before the target appears
};

// False with errno set. The target is refused when it is the source itself, a directory, no plain
// file, read-only, or open for writing by the host.
bool CopyFile(const Place& from, const Place& to, const CopyOptions& options);

// Gives `from` the name `to`, unless that exists; false with errno set.
bool RenameWithoutReplacing(int fromDirectory, const char* from, int toDirectory, const char* to);

// A file under a temporary name beside `to` that becomes `to` at last.
class NewFile {
 public:
  explicit NewFile(const Place& to);
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;
  ~NewFile();  // removes what has not been published

  bool Create(mode_t mode);
  bool CreateLink(const char* text);
  int Descriptor() const { return file_.Get(); }
  bool Close() { return file_.Close(); }
  // Gives the closed file its name. What stands there already is replaced when it may be by a copy
  // of `source`.
  bool Publish(bool replace, FileId source);

 private:
  bool MakeName();

  const Place& to_;
  windows::Descriptor file_;
  bool exists_ = false;
  char name_[4096];
};

}  // namespace windows
