#include "host/windows/windows.h"
#include "tavhost/base/file_handle_windows.h"
#include "tavhost/files/name_lock.h"

namespace name_lock {

namespace {

class WindowsLock final : public Lock {
 public:
  WindowsLock(HANDLE file, std::uint64_t offset) : file_(file), offset_(offset) {}
  WindowsLock(const WindowsLock&) = delete;
  WindowsLock& operator=(const WindowsLock&) = delete;
  ~WindowsLock() override { CloseHandle(file_); }

  Outcome Try() override {
    // Not even whoever has a byte can lock it again.
    isTaken_ = isTaken_ || LockByte(offset_, LOCKFILE_EXCLUSIVE_LOCK);
    if (isTaken_) return Outcome::kTaken;
    const DWORD error = GetLastError();
    if (error != ERROR_LOCK_VIOLATION && error != ERROR_IO_PENDING) return Outcome::kRefused;
    // Whoever keeps the file open has the second byte as well. Others who only look at it do so
    // side by side.
    if (!LockByte(offset_ + 1, 0)) return Outcome::kRefused;
    OVERLAPPED place = PlaceOf(offset_ + 1);
    UnlockFileEx(file_, 0, 1, 0, &place);
    return Outcome::kBusy;
  }

  void KeepOpen() override {
    // Somebody may have it for a moment, to look whether it can be had.
    constexpr int kMost = 100;
    for (int i = 0; i < kMost && !LockByte(offset_ + 1, LOCKFILE_EXCLUSIVE_LOCK); ++i) Sleep(1);
  }

  bool Share(std::uint64_t offset) override { return LockByte(offset, 0); }
  bool TryForSure() override { return LockByte(offset_, LOCKFILE_EXCLUSIVE_LOCK); }

 private:
  static OVERLAPPED PlaceOf(std::uint64_t offset) {
    OVERLAPPED place = {};
    place.Offset = static_cast<DWORD>(offset);
    place.OffsetHigh = static_cast<DWORD>(offset >> 32);
    return place;
  }

  bool LockByte(std::uint64_t offset, DWORD kind) {
    OVERLAPPED place = PlaceOf(offset);
    return LockFileEx(file_, kind | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &place) != 0;
  }

  HANDLE file_;
  std::uint64_t offset_;
  bool isTaken_ = false;
};

}  // namespace

std::uint32_t detail::OwnProcess() { return GetCurrentProcessId(); }

bool detail::MayBeWriting(std::uint32_t process, const std::string& leftover) {
  if (process == OwnProcess()) return false;  // it would have the lock
  const HANDLE opened = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, process);
  if (!opened) return GetLastError() != ERROR_INVALID_PARAMETER;  // which says that there is none
  const base::FileHandle other(opened);
  FILETIME begin;
  FILETIME end;
  FILETIME unused;
  WIN32_FILE_ATTRIBUTE_DATA file;
  if (!GetProcessTimes(other.Get(), &begin, &end, &unused, &unused) ||
      !GetFileAttributesExA(leftover.c_str(), GetFileExInfoStandard, &file)) {
    return true;
  }
  const bool isRunning = end.dwLowDateTime == 0 && end.dwHighDateTime == 0;
  return isRunning && CompareFileTime(&begin, &file.ftLastWriteTime) <= 0;
}

std::unique_ptr<Lock> detail::Open(const std::string& file, std::uint64_t offset) {
  const HANDLE opened = CreateFileA(file.c_str(), GENERIC_READ | GENERIC_WRITE,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (opened == INVALID_HANDLE_VALUE) return nullptr;
  return std::make_unique<WindowsLock>(opened, offset);
}

}  // namespace name_lock
