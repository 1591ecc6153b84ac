#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "host/export.h"
#include "tavhost/base/result.h"

namespace base {

// New contents of a file, stored whole or not at all: they are written to a temporary file beside
// it, every write and the closing checked, and take its name at the end. Until then, whatever fails
// and wherever the process dies, the file is what it was before. What it was besides its contents
// stays: mode and owner, and where its name is a link, that link.
//
// A few files would not survive another one taking their name: one that has several names (hard
// links), one that this process has as a standard stream, one whose folder takes no new file or
// whose owner, group or access list a new file cannot get, one on which a file system is mounted.
// These are written in place, room for all of a text being reserved before the first byte changes.
//
// One thread at a time; nothing here ends by a stop unless the options say so.
class WholeFile {
 public:
  struct Options {
    bool keepsContents = false;  // begin with what the file holds: what is written is added
    bool synced = false;         // on the disk, name and all, when it is stored
    bool ownerOnly = false;      // nobody else may read a file that is new
    bool followsLink = true;     // a link at the end of the path; without, it cannot be opened
    bool stoppable = false;      // a long write leaves with stop::Stopped; the file stays
  };

  // The path is UTF-8. Errors name the reason in the system's words and the path. Fails when a file
  // could not be stored there in any case: no folder, no plain file, a read-only one, no right.
  static Result<std::unique_ptr<WholeFile>> Open(const std::string& path, const Options& options);

  // What has not been stored goes.
  virtual ~WholeFile() = default;

  // All of it, or a failure, after which nothing can be stored any more.
  virtual Result<void> Write(std::string_view bytes) = 0;
  // Once, at the end.
  virtual Result<void> Store() = 0;

  // What the file holds when Write or Store has failed: what it held before; all of the new text,
  // which may not survive a loss of power; or anything of both, where it is written in place.
  enum class Left { kOld, kNew, kAny };
  virtual Left WhatIsLeft() const = 0;
};

// All at once.
TAV_HOST_API Result<void> WriteWholeFile(const std::string& path, std::string_view bytes,
                                         const WholeFile::Options& options);

}  // namespace base
