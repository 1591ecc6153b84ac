#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "tavhost/base/new_file_posix.h"
#include "tavhost/base/uninterrupted_posix.h"
#include "tavhost/service/token.h"

namespace script::service {

namespace {

// A folder of this user's that nobody else can enter.
bool IsPrivate(const std::string& path) {
  struct stat status;
  return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
         status.st_uid == geteuid() && (status.st_mode & 077) == 0;
}

}  // namespace

std::string PrivateFolder() {
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  const std::string folder = runtime && *runtime ? std::string(runtime) + "/tavhost"
                                                 : "/tmp/tavhost-" + std::to_string(geteuid());
  mkdir(folder.c_str(), 0700);
  return IsPrivate(folder) ? folder : std::string();
}

// Whole at once: a program that is killed meanwhile leaves nothing of that name.
bool WritePrivateFile(const std::string& path, std::string_view contents) {
  base::NewFile file(AT_FDCWD, path.c_str());
  if (!file.Create(0600)) return false;
  const ssize_t count = base::Uninterrupted(
      [&] { return write(file.Descriptor(), contents.data(), contents.size()); });
  if (count != static_cast<ssize_t>(contents.size())) {
    if (count >= 0) errno = ENOSPC;
    return false;
  }
  return file.Close() && file.TakeFreeName();
}

bool IsPrivateFile(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && (status.st_mode & 077) == 0;
}

}  // namespace script::service
