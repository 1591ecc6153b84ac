#pragma once

#include <stdlib.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <system_error>

// A new empty folder on another file system than the current folder is on, where there is one. It
// goes with the object.
class SecondFileSystem {
 public:
  SecondFileSystem() {
    std::string folder = "/dev/shm/tavhost-test-XXXXXX";
    if (!mkdtemp(folder.data())) return;
    folder_ = folder;
    struct stat here;
    struct stat there;
    isThere_ =
        stat(".", &here) == 0 && stat(folder_.c_str(), &there) == 0 && here.st_dev != there.st_dev;
  }
  SecondFileSystem(const SecondFileSystem&) = delete;
  SecondFileSystem& operator=(const SecondFileSystem&) = delete;
  ~SecondFileSystem() {
    std::error_code ignored;
    if (!folder_.empty()) std::filesystem::remove_all(folder_, ignored);
  }

  bool IsThere() const { return isThere_; }
  const std::string& Folder() const { return folder_; }

 private:
  std::string folder_;
  bool isThere_ = false;
};
