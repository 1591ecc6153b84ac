#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <tl/expected.hpp>

#include "tavhost/base/string_of.h"
#include "tavhost/script/syntax/included_file.h"

namespace script {

std::string IdentityOf(const std::string& name) {
  struct stat status;
  if (stat(name.c_str(), &status) != 0) return name;
  return std::to_string(status.st_dev) + ':' + std::to_string(status.st_ino);
}

base::Result<IncludedFile> ReadIncludedFile(const std::string& name) {
  const int file = open(name.c_str(), O_RDONLY | O_CLOEXEC);
  struct stat status;
  if (file < 0 || fstat(file, &status) != 0) {
    const char* const reason = std::strerror(errno);
    if (file >= 0) close(file);
    return base::Failure(reason);
  }
  IncludedFile included;
  included.identity = std::to_string(status.st_dev) + ':' + std::to_string(status.st_ino);
  std::string text;
  char bytes[65536];
  ssize_t count = 0;
  while ((count = read(file, bytes, sizeof bytes)) > 0 &&
         text.size() < static_cast<std::size_t>(SV::String::kMaxLength) / 2) {
    text.append(bytes, static_cast<std::size_t>(count));
  }
  const int failure = count < 0 ? errno : 0;
  close(file);
  if (failure != 0) return base::Failure(std::strerror(failure));
  if (count > 0) return base::Failure("the file is too large");
  included.text = base::StringOf(text);
  return included;
}

}  // namespace script
