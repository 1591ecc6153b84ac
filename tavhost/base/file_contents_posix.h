#pragma once

#include <cstddef>
#include <cstdint>

#include "tavhost/base/long_work.h"

// Moving bytes into open files, whatever the system does in pieces: short and interrupted calls go
// on. What fails says why by `errno`.
namespace base {

// The number of bytes taken, fewer than `length` when the rest could not be written; `errno` then
// says why. A pipe or device that takes nothing for now is waited for. `work` is told how far it is
// and ends it for a stop; null for what must not be left half done, and for what the host keeps for
// itself.
std::size_t WriteBytes(int file, const char* data, std::size_t length, LongWork* work);

struct CopyWay {
  LongWork* work = nullptr;
  bool synced = false;  // the disk begins at once, so that the caller's fsync at the end is short
};

// What `from` holds, a file of `size` bytes, into `to`; both stand at their beginning. Holes stay
// holes where the file system knows of them.
bool CopyContents(int from, int to, std::uint64_t size, const CopyWay& way);

}  // namespace base
