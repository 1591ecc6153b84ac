#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <type_traits>

#include "tavhost/base/leased_file_posix.h"

namespace base {

// Makes a call of the system again as long as a signal interrupts it. Not for close. Of a call that
// returns a pointer errno then tells why that is null: 0 where the call says so of an end.
template <typename Call>
auto Uninterrupted(Call call) {
  if constexpr (std::is_pointer_v<decltype(call())>) {
    errno = 0;
    auto result = call();
    while (!result && errno == EINTR) {
      errno = 0;
      result = call();
    }
    return result;
  } else {
    auto result = call();
    while (result < 0 && errno == EINTR) result = call();
    return result;
  }
}

// What a slow file system, as one of another machine, may interrupt. A file that is opened without
// waiting for the other end of a pipe (O_NONBLOCK) is waited for where another program holds it.
inline int OpenAt(int directory, const char* name, int flags, mode_t mode = 0) {
  const int file = Uninterrupted([=] { return openat(directory, name, flags, mode); });
  const bool isLeased = file < 0 && errno == EWOULDBLOCK;
  return isLeased ? OpenLeased(directory, name, flags, mode) : file;
}

inline int MakeDirectoryAt(int directory, const char* name, mode_t mode) {
  return Uninterrupted([=] { return mkdirat(directory, name, mode); });
}

inline int UnlinkAt(int directory, const char* name, int flags) {
  return Uninterrupted([=] { return unlinkat(directory, name, flags); });
}

inline int StatusAt(int directory, const char* name, struct stat& status, int flags) {
  return Uninterrupted([&] { return fstatat(directory, name, &status, flags); });
}

inline int StatusOf(int file, struct stat& status) {
  return Uninterrupted([&] { return fstat(file, &status); });
}

inline ssize_t ReadLinkAt(int directory, const char* name, char* out, size_t room) {
  return Uninterrupted([=] { return readlinkat(directory, name, out, room); });
}

}  // namespace base
