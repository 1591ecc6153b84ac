#pragma once

#include <cstdint>
#include <functional>
#include <set>

#include "host/base/string.h"
#include "host/export.h"

typedef std::int32_t TavFileHandle;  // 0: no file

// Files by path and library. Library -1 is the file system, or the database file area for a path
// that begins with `db:\`; any other is a folder of the area. A name of the area never leads to a
// file outside it.
class TAV_HOST_API TavFileManager {
 public:
  // The mode of an opened file: these, added up.
  enum OpenMode {
    kWrite = 2,
    kAppend = 8,
    kBinary = 32,  // makes no difference: no byte is ever converted
  };

  // 0 when the file cannot be opened. A file of the area appears, whole, when it is closed, and has
  // no other writer until then. So does a file of the file system that is opened without kAppend
  // and closed by the same command; a command that leaves it open lets others see it grow.
  static TavFileHandle fileOpenWrite(const char* path, int mode, long libraryId);
  // The number of bytes taken, fewer than `length` when the disk is full. Of a text that only
  // appears whole nothing is taken then, and nothing will be stored.
  static long fileWrite(TavFileHandle handle, const char* data, long length);
  // Sets the handle to 0; false when there was none, or not all was taken. When what was taken
  // could not be stored, the command does not go on: it ends as an error of the script.
  static bool fileClose(TavFileHandle& handle);
  // True for files, false for directories. The last argument is not used.
  static bool fileExists(const SV::String& path, long libraryId, bool unused);
  static bool fileDelete(const SV::String& path, long libraryId);
  // Replaces an existing target, which is at any time the old file or the new one and keeps its
  // owner and mode. Attributes are the read-only attribute and the modification time.
  static bool fileCopy(const char* from, const char* to, long fromLibraryId, long toLibraryId,
                       bool copyAttributes);
  // Fails when the target exists.
  static bool fileRename(const char* from, const char* to, long libraryId);
  // Fills in the names of all files of a folder of the area.
  static bool getAllDBFilesOfDir(long directoryId,
                                 std::set<SV::String, std::less<SV::String>>& names);
};
