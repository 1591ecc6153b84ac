#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "tavhost/base/descriptor_posix.h"
#include "tavhost/base/uninterrupted_posix.h"
#include "tavhost/files/name_lock.h"

namespace name_lock {

namespace {

struct flock ByteAt(std::uint64_t offset) {
  struct flock range = {};
  range.l_type = F_WRLCK;
  range.l_whence = SEEK_SET;
  range.l_start = static_cast<off_t>(offset);
  range.l_len = 1;
  return range;
}

// Locks of an open file, which another opening of it does not share even in one process.
class PosixLock final : public Lock {
 public:
  PosixLock(base::Descriptor file, std::uint64_t offset)
      : file_(std::move(file)), offset_(offset) {}

  Outcome Try() override {
    if (LockByte(offset_)) return Outcome::kTaken;
    // Where the file system has no locks, nothing can keep two processes apart.
    if (errno == ENOLCK || errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP) {
      return Outcome::kTaken;
    }
    if (errno != EAGAIN && errno != EACCES) return Outcome::kRefused;
    struct flock kept = ByteAt(offset_ + 1);
    const bool isKept = fcntl(file_.Get(), F_OFD_GETLK, &kept) == 0 && kept.l_type != F_UNLCK;
    return isKept ? Outcome::kRefused : Outcome::kBusy;
  }

  void KeepOpen() override { LockByte(offset_ + 1); }

 private:
  bool LockByte(std::uint64_t offset) {
    struct flock byte = ByteAt(offset);
    return base::Uninterrupted([&] { return fcntl(file_.Get(), F_OFD_SETLK, &byte); }) == 0;
  }

  base::Descriptor file_;
  std::uint64_t offset_;
};

// All who may write into the folder may lock, whoever made the file.
base::Descriptor OpenLockFile(const std::string& path) {
  constexpr int kFlags = O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY;
  base::Descriptor file(base::Uninterrupted([&] { return open(path.c_str(), kFlags); }));
  if (file.IsOpen() || errno != ENOENT) return file;
  file = base::Descriptor(
      base::Uninterrupted([&] { return open(path.c_str(), kFlags | O_CREAT, 0666); }));
  struct stat folder;
  const std::string parent = path.substr(0, path.rfind('/'));
  if (file.IsOpen() && stat(parent.c_str(), &folder) == 0) {
    // Where that fails, it is another user's writing that fails.
    base::Uninterrupted([&] { return fchmod(file.Get(), folder.st_mode & 0666); });
  }
  return file;
}

}  // namespace

std::unique_ptr<Lock> detail::Open(const std::string& file, std::uint64_t offset) {
  base::Descriptor opened = OpenLockFile(file);
  if (!opened.IsOpen()) return nullptr;
  return std::make_unique<PosixLock>(std::move(opened), offset);
}

}  // namespace name_lock
