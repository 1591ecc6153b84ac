#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

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

bool WritePrivateFile(const std::string& path, std::string_view contents) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
  if (file < 0) return false;
  const ssize_t count = write(file, contents.data(), contents.size());
  const bool written = count == static_cast<ssize_t>(contents.size());
  int reason = count < 0 ? errno : ENOSPC;
  if (close(file) == 0) {
    if (written) return true;
  } else if (written) {
    reason = errno;
  }
  unlink(path.c_str());  // or it would stand in the way of the next start
  errno = reason;
  return false;
}

bool IsPrivateFile(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && (status.st_mode & 077) == 0;
}

}  // namespace script::service
