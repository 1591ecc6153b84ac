#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <tl/expected.hpp>

#include "tavhost/base/descriptor_posix.h"
#include "tavhost/base/string_of.h"
#include "tavhost/base/uninterrupted_posix.h"
#include "tavhost/script/syntax/included_file.h"

namespace script {

std::string IdentityOf(const std::string& name) {
  struct stat status;
  if (stat(name.c_str(), &status) != 0) return name;
  return std::to_string(status.st_dev) + ':' + std::to_string(status.st_ino);
}

// A pipe or device could keep the parser waiting for ever, or never end.
base::Result<IncludedFile> ReadIncludedFile(const std::string& name) {
  const base::Descriptor file(
      base::OpenAt(AT_FDCWD, name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status;
  if (!file.IsOpen() || fstat(file.Get(), &status) != 0) return base::Failure(std::strerror(errno));
  if (S_ISDIR(status.st_mode)) return base::Failure(std::strerror(EISDIR));
  if (!S_ISREG(status.st_mode)) return base::Failure("it is no plain file");
  IncludedFile included;
  included.identity = std::to_string(status.st_dev) + ':' + std::to_string(status.st_ino);
  std::string text;
  char bytes[65536];
  ssize_t count = 0;
  while ((count = base::Uninterrupted([&] { return read(file.Get(), bytes, sizeof bytes); })) > 0 &&
         text.size() < static_cast<std::size_t>(SV::String::kMaxLength) / 2) {
    text.append(bytes, static_cast<std::size_t>(count));
  }
  if (count < 0) return base::Failure(std::strerror(errno));
  if (count > 0) return base::Failure("the file is too large");
  included.text = base::StringOf(text);
  return included;
}

}  // namespace script
