#include "tavhost/base/file_text.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "tavhost/base/descriptor_posix.h"

namespace base {

// "e": closed in programs that this one starts.
std::FILE* OpenForReading(const std::string& name) { return std::fopen(name.c_str(), "rbe"); }

// Looked at first, since opening alone can move a device.
std::FILE* OpenFileForReading(const std::string& name) {
  const auto isFile = [](const struct stat& status) { return S_ISREG(status.st_mode); };
  struct stat status;
  if (stat(name.c_str(), &status) != 0) return nullptr;
  Descriptor file;
  if (isFile(status)) {
    file = Descriptor(open(name.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!file.IsOpen() || fstat(file.Get(), &status) != 0) return nullptr;
  }
  if (!isFile(status)) {
    errno = 0;
    return nullptr;
  }
  std::FILE* const stream = fdopen(file.Get(), "rb");
  if (stream) file.Release();
  return stream;
}

std::FILE* OpenForWriting(const std::string& name) {
  constexpr int kFlags = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC;
  const int file = open(name.c_str(), kFlags, S_IRUSR | S_IWUSR);
  if (file < 0) return nullptr;
  std::FILE* const stream = fdopen(file, "wb");
  if (!stream) close(file);
  return stream;
}

}  // namespace base
