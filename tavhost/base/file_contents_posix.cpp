#include "tavhost/base/file_contents_posix.h"
#include "tavhost/base/uninterrupted_posix.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace base {

namespace {

// Up to here one read and one write take less time than a copy inside the kernel.
constexpr std::size_t kSmall = std::size_t{256} << 10;
// What is copied or written between two looks at the stop request: some milliseconds of work.
constexpr std::uint64_t kStep = std::uint64_t{8} << 20;
constexpr int kLookMilliseconds = 50;

char buffer[kSmall];  // the user-interface thread's

// Waits until a pipe or device takes more; false when it never will.
bool WaitForRoom(int file, LongWork* work, std::uint64_t done, std::uint64_t total) {
  while (true) {
    if (work) work->At(done, total);
    struct pollfd room = {file, POLLOUT, 0};
    const int ready = poll(&room, 1, kLookMilliseconds);
    if (ready > 0) return true;  // an error, too, which the next write tells
    if (ready < 0 && errno != EINTR) return false;
  }
}

// Errors that say only that the system cannot copy between these two files by itself.
bool IsKernelCopyRefused(int error) {
  return error == EXDEV || error == EINVAL || error == ENOSYS || error == EOPNOTSUPP ||
         error == EPERM || error == ETXTBSY || error == EBADF;
}

// One copy under way: both files stand at the same position.
class ContentsCopy {
 public:
  ContentsCopy(int from, int to, const CopyWay& way) : from_(from), to_(to), way_(way) {}

  bool Copy(std::uint64_t size) { return CopyUpTo(size, size <= kSmall); }

  // The parts that hold data, one after the other, with holes between them.
  bool CopySparse(std::uint64_t size) {
    const auto end = static_cast<off_t>(size);
    while (true) {
      const off_t data = lseek(from_, static_cast<off_t>(position_), SEEK_DATA);
      if (data < 0 && errno != ENXIO) return false;
      if (data < 0 || data >= end) break;  // only a hole is left
      const off_t hole = lseek(from_, data, SEEK_HOLE);
      if (hole < 0 || lseek(from_, data, SEEK_SET) < 0 || lseek(to_, data, SEEK_SET) < 0) {
        return false;
      }
      position_ = static_cast<std::uint64_t>(data);
      if (!CopyUpTo(static_cast<std::uint64_t>(std::min(hole, end)), false)) return false;
      if (isAtEnd_) return true;  // the source was cut short meanwhile
    }
    return ftruncate(to_, end) == 0;
  }

 private:
  // From the present position to `end`, or to where the source ends.
  bool CopyUpTo(std::uint64_t end, bool byBuffer) {
    bool inKernel = !byBuffer;
    while (position_ < end || byBuffer) {
      if (way_.work) way_.work->At(position_, end);
      const std::uint64_t step = std::min(end - std::min(end, position_), kStep);
      std::int64_t bytes = -1;
      if (inKernel) {
        bytes = copy_file_range(from_, nullptr, to_, nullptr, step, 0);
        if (bytes < 0 && errno == EINTR) continue;
        if (bytes < 0 && !IsKernelCopyRefused(errno)) return false;
        // Nothing at all may also be a file that the system makes up as it is read.
        inKernel = bytes > 0;
      }
      if (!inKernel) {
        bytes = CopyByBuffer(byBuffer ? sizeof buffer : std::min<std::uint64_t>(step, kSmall));
        if (bytes < 0) return false;
        if (bytes == 0) return isAtEnd_ = true;
      }
      position_ += static_cast<std::uint64_t>(bytes);
      KeepDiskBusy(static_cast<std::uint64_t>(bytes));
      if (position_ == end) break;  // the end, without asking once more
    }
    return true;
  }

  std::int64_t CopyByBuffer(std::size_t room) {
    while (true) {
      const ssize_t bytes = read(from_, buffer, room);
      if (bytes < 0 && errno == EINTR) continue;
      if (bytes <= 0) return bytes;
      const auto length = static_cast<std::size_t>(bytes);
      return WriteBytes(to_, buffer, length, nullptr) == length ? bytes : -1;
    }
  }

  // Asks the disk to begin with what was just written, and waits for what was written before that,
  // so that little is left for the fsync at the end, which no stop can interrupt. A wish: what goes
  // wrong here, fsync tells.
  void KeepDiskBusy(std::uint64_t bytes) {
    if (!way_.synced) return;
    const auto begin = static_cast<off64_t>(position_ - bytes);
    sync_file_range(to_, begin, static_cast<off64_t>(bytes), SYNC_FILE_RANGE_WRITE);
    if (begin < static_cast<off64_t>(kStep)) return;
    sync_file_range(
        to_, begin - static_cast<off64_t>(kStep), static_cast<off64_t>(kStep),
        SYNC_FILE_RANGE_WAIT_BEFORE | SYNC_FILE_RANGE_WRITE | SYNC_FILE_RANGE_WAIT_AFTER);
  }

  int from_;
  int to_;
  CopyWay way_;
  bool isAtEnd_ = false;
  std::uint64_t position_ = 0;
};

bool HasHoles(int file, std::uint64_t size) {
  struct stat status;
  constexpr std::uint64_t kBlock = 512;
  return size > kSmall && StatusOf(file, status) == 0 && S_ISREG(status.st_mode) &&
         static_cast<std::uint64_t>(status.st_blocks) * kBlock < size &&
         lseek(file, 0, SEEK_HOLE) >= 0 && lseek(file, 0, SEEK_SET) == 0;
}

}  // namespace

// A write that takes nothing counts as a full disk, or this could go on for ever.
std::size_t WriteBytes(int file, const char* data, std::size_t length, LongWork* work) {
  std::size_t done = 0;
  while (done < length) {
    if (work) work->At(done, length);
    const std::size_t step = std::min<std::size_t>(length - done, kStep);
    const ssize_t written = write(file, data + done, step);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0 && errno == EAGAIN && WaitForRoom(file, work, done, length)) continue;
    if (written < 0) break;
    if (written == 0) {
      errno = ENOSPC;
      break;
    }
    done += static_cast<std::size_t>(written);
  }
  return done;
}

bool CopyContents(int from, int to, std::uint64_t size, const CopyWay& way) {
  ContentsCopy copy(from, to, way);
  return HasHoles(from, size) ? copy.CopySparse(size) : copy.Copy(size);
}

}  // namespace base
