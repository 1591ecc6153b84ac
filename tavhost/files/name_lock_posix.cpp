#include <fcntl.h>
#include <linux/magic.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <optional>

#include "tavhost/base/descriptor_posix.h"
#include "tavhost/base/uninterrupted_posix.h"
#include "tavhost/files/name_lock.h"

namespace name_lock {

namespace {

struct flock ByteAt(std::uint64_t offset, short kind = F_WRLCK) {
  struct flock range = {};
  range.l_type = kind;
  range.l_whence = SEEK_SET;
  range.l_start = static_cast<off_t>(offset);
  range.l_len = 1;
  return range;
}

// Where the file system has no locks, nothing can keep two processes apart.
bool HasNoLocks(int error) {
  return error == ENOLCK || error == EINVAL || error == ENOSYS || error == EOPNOTSUPP;
}

// Whether all who can reach the file see each other's locks. File systems of other machines may
// keep locks to this one.
bool IsOfThisMachine(int file) {
  constexpr std::uint32_t kKinds[] = {
      BTRFS_SUPER_MAGIC, EXT4_SUPER_MAGIC, F2FS_SUPER_MAGIC, OVERLAYFS_SUPER_MAGIC,
      RAMFS_MAGIC,       TMPFS_MAGIC,      XFS_SUPER_MAGIC,  0x2fc12fc1 /* ZFS */,
  };
  struct statfs status;
  if (base::Uninterrupted([&] { return fstatfs(file, &status); }) != 0) return false;
  return std::find(std::begin(kKinds), std::end(kKinds),
                   static_cast<std::uint32_t>(status.f_type)) != std::end(kKinds);
}

// When a process began, in seconds since 1970; nothing when that cannot be told.
std::optional<double> BeginOf(std::uint32_t process) {
  const base::Descriptor file(
      open(("/proc/" + std::to_string(process) + "/stat").c_str(), O_RDONLY | O_CLOEXEC));
  char text[1024];
  const ssize_t length = file.IsOpen() ? read(file.Get(), text, sizeof text - 1) : -1;
  if (length < 0) return std::nullopt;
  text[length] = '\0';
  // Behind the name, which may hold anything, stand the fields from the third on.
  const char* field = std::strrchr(text, ')');
  constexpr int kNameToBegin = 20;
  for (int i = 0; field && i < kNameToBegin; ++i) field = std::strchr(field + 1, ' ');
  struct timespec now;
  struct timespec sinceBoot;
  if (!field || clock_gettime(CLOCK_REALTIME, &now) != 0 ||
      clock_gettime(CLOCK_BOOTTIME, &sinceBoot) != 0) {
    return std::nullopt;
  }
  return std::strtod(field, nullptr) / static_cast<double>(sysconf(_SC_CLK_TCK)) +
         static_cast<double>(now.tv_sec - sinceBoot.tv_sec);
}

// Locks of an open file, which another opening of it does not share even in one process.
class PosixLock final : public Lock {
 public:
  PosixLock(base::Descriptor file, std::uint64_t offset)
      : file_(std::move(file)), offset_(offset) {}

  Outcome Try() override {
    if (LockByte(offset_) || HasNoLocks(errno)) return Outcome::kTaken;
    if (errno != EAGAIN && errno != EACCES) return Outcome::kRefused;
    struct flock kept = ByteAt(offset_ + 1);
    const bool isKept =
        base::Uninterrupted([&] { return fcntl(file_.Get(), F_OFD_GETLK, &kept); }) == 0 &&
        kept.l_type != F_UNLCK;
    return isKept ? Outcome::kRefused : Outcome::kBusy;
  }

  void KeepOpen() override { LockByte(offset_ + 1); }

  bool Share(std::uint64_t offset) override {
    return LockByte(offset, F_RDLCK) || HasNoLocks(errno);
  }

  bool TryForSure() override { return IsOfThisMachine(file_.Get()) && LockByte(offset_); }

 private:
  bool LockByte(std::uint64_t offset, short kind = F_WRLCK) {
    struct flock byte = ByteAt(offset, kind);
    return base::Uninterrupted([&] { return fcntl(file_.Get(), F_OFD_SETLK, &byte); }) == 0;
  }

  base::Descriptor file_;
  std::uint64_t offset_;
};

// All who may write into the folder may lock, whoever made the file.
base::Descriptor OpenLockFile(const std::string& path) {
  constexpr int kFlags = O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY;
  base::Descriptor file(base::OpenAt(AT_FDCWD, path.c_str(), kFlags));
  if (file.IsOpen() || errno != ENOENT) return file;
  file = base::Descriptor(base::OpenAt(AT_FDCWD, path.c_str(), kFlags | O_CREAT, 0666));
  struct stat folder;
  const std::string parent = path.substr(0, path.rfind('/'));
  if (file.IsOpen() && stat(parent.c_str(), &folder) == 0) {
    // Where that fails, it is another user's writing that fails.
    base::Uninterrupted([&] { return fchmod(file.Get(), folder.st_mode & 0666); });
  }
  return file;
}

}  // namespace

std::uint32_t detail::OwnProcess() { return static_cast<std::uint32_t>(getpid()); }

bool detail::MayBeWriting(std::uint32_t process, const std::string& leftover) {
  const auto number = static_cast<pid_t>(process);
  if (process == OwnProcess()) return false;  // it would have the lock
  if (number <= 0 || (kill(number, 0) != 0 && errno == ESRCH)) return false;
  struct stat status;
  const std::optional<double> begin = BeginOf(process);
  if (!begin || lstat(leftover.c_str(), &status) != 0) return true;
  constexpr double kClocksDiffer = 2;  // seconds
  return *begin < static_cast<double>(status.st_ctim.tv_sec) + kClocksDiffer;
}

std::unique_ptr<Lock> detail::Open(const std::string& file, std::uint64_t offset) {
  base::Descriptor opened = OpenLockFile(file);
  if (!opened.IsOpen()) return nullptr;
  return std::make_unique<PosixLock>(std::move(opened), offset);
}

}  // namespace name_lock
