#pragma once

#include <memory>
#include <string>

#include "tavhost/base/whole_file.h"
#include "tavhost/files/disk.h"

namespace disk {

// A text that takes the place of a whole file when it is closed. A command that leaves the file
// open wants others to see it grow: from then on what is written goes into the file itself.
class ReplacingOutputFile final : public OutputFile {
 public:
  // Null when the file cannot be opened.
  static std::unique_ptr<OutputFile> Open(Name name);

  ReplacingOutputFile(std::unique_ptr<base::WholeFile> whole, Name name)
      : whole_(std::move(whole)), path_(name.text), isScripts_(name.isScripts) {}

  // All or nothing: of a text that does not fit, nothing will be stored.
  long Write(const char* data, long length) override;
  base::Result<void> StayOpen() override;
  base::Result<bool> Close() override;

 private:
  std::unique_ptr<base::WholeFile> whole_;  // null once it stays open
  std::unique_ptr<OutputFile> direct_;
  std::string path_;
  bool isScripts_;
  bool isBegun_ = false;
  bool isRefused_ = false;  // it has been told that not all was taken
};

}  // namespace disk
