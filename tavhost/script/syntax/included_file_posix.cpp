#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "tavhost/base/string_of.h"
#include "tavhost/script/syntax/included_file.h"

namespace script {

std::string IdentityOf(const std::string& name) {
  struct stat status;
  if (stat(name.c_str(), &status) != 0) return name;
  return std::to_string(status.st_dev) + ':' + std::to_string(status.st_ino);
}

std::optional<IncludedFile> ReadIncludedFile(const std::string& name, std::string& error) {
  const int file = open(name.c_str(), O_RDONLY | O_CLOEXEC);
  struct stat status;
  if (file < 0 || fstat(file, &status) != 0) {
    error = std::strerror(errno);
    if (file >= 0) close(file);
    return std::nullopt;
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
  if (count < 0) error = std::strerror(errno);
  if (count > 0) error = "the file is too large";
  close(file);
  if (count != 0) return std::nullopt;
  included.text = base::StringOf(text);
  return included;
}

}  // namespace script
