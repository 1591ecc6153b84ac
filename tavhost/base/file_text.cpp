#include "tavhost/base/file_text.h"

#include <cerrno>
#include <cstring>
#include <tl/expected.hpp>

namespace base {

Result<std::string> ReadStreamText(std::FILE* stream) {
  std::string text;
  char part[1 << 16];
  while (const std::size_t count = std::fread(part, 1, sizeof part, stream)) {
    text.append(part, count);
  }
  if (std::ferror(stream)) return Failure(std::strerror(errno));
  return text;
}

Result<std::string> ReadFileText(const std::string& name) {
  std::FILE* const file = OpenForReading(name);
  if (!file) return Failure(std::strerror(errno));
  Result<std::string> text = ReadStreamText(file);
  std::fclose(file);
  return text;
}

Result<std::string> ReadKeptText(const std::string& name, std::size_t most) {
  std::FILE* const file = OpenFileForReading(name);
  if (!file) {
    if (errno == ENOENT) return std::string();
    return Failure(errno == 0 ? "it is no file" : std::strerror(errno));
  }
  // Of a shorter file this fails, and reading begins at its beginning.
  std::fseek(file, -static_cast<long>(most), SEEK_END);
  std::string text(most, '\0');
  text.resize(std::fread(text.data(), 1, most, file));
  const int error = std::ferror(file) ? errno : 0;
  std::fclose(file);
  if (error != 0) return Failure(std::strerror(error));
  return text;
}

}  // namespace base
