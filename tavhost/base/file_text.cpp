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

}  // namespace base
