#pragma once

#include "host/windows/types.h"
#include "tavhost/windows/path.h"
#include "tavhost/windows/safe_copy.h"

// What the Windows file functions and the host's own file services (files/disk.h) do alike, in one
// place. False with errno set.
namespace windows {

bool DeleteFile(const Path& path);
bool CopyFile(const Path& from, const Path& to, const CopyOptions& options);
bool MoveFile(const Path& from, const Path& to);

// The attributes of what is called `name` in `directory`, by its status, links not followed.
DWORD AttributesOf(int directory, const char* name, const struct stat& status);

}  // namespace windows
