#pragma once

#include "host/windows/directories.h"
#include "host/windows/windows.h"

namespace windows {

// Functions of the system that touch files by their path, as plug-ins call them.
struct FileFunctions {
  decltype(&::FindFirstFileA) findFirst;
  decltype(&::FindNextFileA) findNext;
  decltype(&::FindClose) findClose;
  decltype(&::GetFileAttributesA) attributes;
  decltype(&::CreateDirectoryA) createDirectory;
  decltype(&::RemoveDirectoryA) removeDirectory;
  decltype(&::DeleteFileA) deleteFile;
  decltype(&::CopyFileA) copyFile;
  decltype(&::MoveFileA) moveFile;
  decltype(&::_chdir) chdir;
  decltype(&::_mkdir) mkdir;
  decltype(&::_rmdir) rmdir;
};

// What plug-ins get instead of the functions of this host; null: those themselves. Where the
// functions are the system's own, nobody asks for it.
inline const FileFunctions* replacedFunctions = nullptr;

}  // namespace windows
