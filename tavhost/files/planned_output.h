#pragma once

#include <cstdint>
#include <string>

#include "host/base/string.h"
#include "tavhost/base/result.h"
#include "tavhost/files/disk.h"
#include "tavhost/files/planned_files.h"

// A file open for writing in a dry run. Keeps what is written where a later step can read it.
class PlannedOutput : public disk::OutputFile {
 public:
  PlannedOutput(PlannedFiles& files, std::string path, PlannedFiles::Kind before, bool append,
                PlannedFiles::Appears when);
  PlannedOutput(const PlannedOutput&) = delete;
  PlannedOutput& operator=(const PlannedOutput&) = delete;
  ~PlannedOutput() override;  // what was not whole is not stored

  bool IsAt(const std::string& path) const;

  long Write(const char* data, long length) override;
  // From now on each text is in the file at once, and told then; but a file that appears when it is
  // closed is told then, as a whole.
  base::Result<void> StayOpen() override;
  base::Result<bool> Close() override;

 private:
  bool IsReplacing() const { return existed_ && !isAppending_ && !isDevice_; }
  void Appear();
  void Keep();

  PlannedFiles& files_;
  std::string path_;
  PlannedFiles::Appears when_;
  bool existed_;
  bool isDevice_;
  bool isAppending_;
  bool isGrowing_ = false;
  PlannedFiles::Node* node_ = nullptr;
  SV::String bytes_;
  std::int64_t count_ = 0;
  bool isKnown_ = true;
};
