#pragma once

#include "host/files/file_manager.h"
#include "tavhost/base/result.h"

// Files that plug-ins have opened for writing and forgotten.
namespace open_output_files {

// The file that was opened last, for the functions below; 0: none yet.
TavFileHandle Newest();
// Whether one that was opened behind `mark` is open.
bool HasSince(TavFileHandle mark);
// As the functions for all, for those that were opened behind `mark`. The failure is that of the
// first file.
base::Result<void> CloseSince(TavFileHandle mark);
void DropSince(TavFileHandle mark);

// At the end of the host, while all that they need is there: closes what is open, and so stores
// files of the database area. What cannot be stored is told on standard error; false then.
bool CloseAll();

// At the end of a run that was cut short: closes what is open and stores no file of the database
// area, which keeps what it held before.
void DropAll();

}  // namespace open_output_files
