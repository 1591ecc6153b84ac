#pragma once

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "tavhost/base/result.h"
#include "tavhost/base/whole_file.h"

namespace ui {

// The file of a record under way. What stood there before stays until the record is whole and
// stored; only then does it take its place. What is no plain file, as a pipe, is written to at
// once.
class RecordFile {
 public:
  static base::Result<std::unique_ptr<RecordFile>> Open(const std::string& path);
  // Such a file is opened when somebody reads it, as late as that may be.
  static bool IsPipeOrDevice(const std::string& path);
  RecordFile(const RecordFile&) = delete;
  RecordFile& operator=(const RecordFile&) = delete;
  ~RecordFile();  // a record that was not kept is gone

  void Write(std::string_view text);
  // The record is whole. Fails when not all of it could be stored, now or earlier.
  base::Result<void> Keep();

 private:
  RecordFile() = default;
  base::Result<void> WriteAtOnce(std::string_view text);

  std::unique_ptr<base::WholeFile> whole_;
  std::FILE* stream_ = nullptr;       // where it is written to at once
  std::optional<base::Error> fault_;  // why not all could be written
};

}  // namespace ui
