#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

#include "host/export.h"
#include "tavhost/base/result.h"

// Files that the program is given by name, as texts of any bytes. What scripts read goes through
// the file manager instead, which has rules of its own.
namespace base {

// The whole file; a name is UTF-8. Of a pipe, what comes until its other end is closed. The error
// is the system's word for why not, without the name.
Result<std::string> ReadFileText(const std::string& name);

// All that is left of a stream that is open.
Result<std::string> ReadStreamText(std::FILE* stream);

// The end of a file that the program itself keeps between its starts, `most` bytes of it at most;
// empty where there is none yet. Whatever was put in the file's place, a pipe, a device or a file
// without end, neither holds the program nor costs it more memory than that: what is no file is an
// error.
TAV_HOST_API Result<std::string> ReadKeptText(const std::string& name, std::size_t most);

// Platform part; null, with errno set, when it cannot be opened. Programs that are started
// meanwhile do not get the file. A file that is opened for writing is empty; where it is new,
// nobody but its owner may read it on POSIX systems, since what a script was told may be in it.
std::FILE* OpenForReading(const std::string& name);
// Waits for nobody. Null with errno 0 for what is no file.
std::FILE* OpenFileForReading(const std::string& name);
std::FILE* OpenForWriting(const std::string& name);

}  // namespace base
