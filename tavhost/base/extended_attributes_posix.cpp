#include "tavhost/base/extended_attributes_posix.h"

#include <linux/limits.h>
#include <sys/xattr.h>

#include <algorithm>
#include <cerrno>

#include "tavhost/base/uninterrupted_posix.h"

namespace base {

namespace {

// A file opened by O_PATH has no attributes itself, but by this path.
std::string PathOf(int file) { return "/proc/self/fd/" + std::to_string(file); }

// Calls `get` with room for what it reads: little first, and all that there can be when that is
// too little.
template <typename Get>
std::optional<std::string> ReadAll(std::size_t most, Get get) {
  constexpr std::size_t kUsual = 1024;
  std::string text;
  ssize_t length = -1;
  for (const std::size_t room : {std::min(kUsual, most), most}) {
    text.resize(room);
    length = Uninterrupted([&] { return get(text.data(), room); });
    if (length >= 0 || errno != ERANGE) break;
  }
  if (length < 0) return std::nullopt;
  text.resize(static_cast<std::size_t>(length));
  return text;
}

}  // namespace

std::optional<std::vector<std::string>> AttributesOf(int file) {
  const auto names = ReadAll(XATTR_LIST_MAX, [file](char* out, std::size_t room) {
    const ssize_t length = flistxattr(file, out, room);
    return length < 0 && errno == EBADF ? listxattr(PathOf(file).c_str(), out, room) : length;
  });
  if (!names) return std::nullopt;
  std::vector<std::string> list;
  for (std::size_t at = 0; at < names->size(); at += list.back().size() + 1) {
    list.emplace_back(names->c_str() + at);
  }
  return list;
}

std::optional<std::string> ReadAttribute(int file, const char* name) {
  return ReadAll(XATTR_SIZE_MAX, [file, name](char* out, std::size_t room) {
    const ssize_t length = fgetxattr(file, name, out, room);
    return length < 0 && errno == EBADF ? getxattr(PathOf(file).c_str(), name, out, room) : length;
  });
}

bool WriteAttribute(int file, const char* name, const std::string& value) {
  return Uninterrupted([&] { return fsetxattr(file, name, value.data(), value.size(), 0); }) == 0;
}

bool RemoveAttribute(int file, const char* name) {
  return Uninterrupted([&] { return fremovexattr(file, name); }) == 0 || errno == ENODATA ||
         errno == ENOTSUP || errno == ENOSYS;
}

}  // namespace base
