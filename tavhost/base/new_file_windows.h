#pragma once

#include <string>

// How a file takes the place of another in one step. What fails says why by GetLastError.
namespace base {

// A file under a temporary name (`.tavhost-NUMBER-NUMBER.tmp`) in the folder in which it is to
// stand, until it takes the name it is made for. Whatever fails, and wherever the process dies,
// that name stands for nothing, for what it stood for before, or for all of the new file.
class NewFile {
 public:
  explicit NewFile(std::wstring target);
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;
  ~NewFile();  // removes what has not taken its name

  bool Create();
  void* Handle() const { return file_; }  // for reading and writing
  const std::wstring& TemporaryName() const { return name_; }
  bool Close();

  // What has the name goes. `synced`: it is on the disk when this returns.
  bool ReplaceName(bool synced);

 private:
  std::wstring target_;
  std::wstring name_;
  void* file_ = nullptr;
  bool exists_ = false;
};

}  // namespace base
