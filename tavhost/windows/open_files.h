#pragma once

#include "tavhost/windows/file_id.h"

// The files that the host holds open for writing. They can be neither removed nor moved, nor
// replaced by a copy, until they are closed. User-interface thread only.
namespace windows {

void RememberOpenFile(FileId file);
void ForgetOpenFile(FileId file);
bool AreFilesOpen();
bool IsOpenFile(FileId file);

}  // namespace windows
