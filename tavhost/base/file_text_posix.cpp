#include "tavhost/base/file_text.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace base {

// "e": closed in programs that this one starts.
std::FILE* OpenForReading(const std::string& name) { return std::fopen(name.c_str(), "rbe"); }

std::FILE* OpenForWriting(const std::string& name) {
  constexpr int kFlags = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC;
  const int file = open(name.c_str(), kFlags, S_IRUSR | S_IWUSR);
  if (file < 0) return nullptr;
  std::FILE* const stream = fdopen(file, "wb");
  if (!stream) close(file);
  return stream;
}

}  // namespace base
