#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <stdio_ext.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <ctime>

#include "tavhost/base/standard_write.h"
#include "tavhost/base/stop.h"

namespace standard_write {

namespace {

constexpr int kSlice = 20;  // milliseconds between two looks at the stop request

std::atomic<bool> isInHurry{false};
std::atomic<bool> waits{true};          // for readers, at all
std::atomic<std::int64_t> deadline{0};  // of the stop that is asked for; 0: none is
std::atomic<int> outputError{0};
std::atomic<bool> hasDropped{false};

// The buffer of standard output, which the C library fills and this file empties: the library's own
// way to write it out waits for the reader whatever happens.
char buffer[std::size_t{64} << 10];
bool isBuffered = false;  // the buffer is that of standard output
bool isTerminal = false;  // standard output is one; it has no buffer of ours
volatile std::sig_atomic_t isFlushing = 0;

std::int64_t Milliseconds() noexcept {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000;
}

bool IsToEnd() noexcept {
  return isInHurry || stop::IsRequested() || stop::Watched() != stop::Reason::kNone;
}

// Whether a reader that takes nothing now is waited for.
bool HasPatience() noexcept {
  if (!waits) return false;
  if (!IsToEnd()) {
    deadline = 0;
    return true;
  }
  const std::int64_t now = Milliseconds();
  std::int64_t none = 0;
  deadline.compare_exchange_strong(none, now + kPatience);
  return now < deadline;
}

// False when the reader took too long. What is wrong with the descriptor is told by the write.
bool WaitForReader(int descriptor) noexcept {
  pollfd reader{descriptor, POLLOUT, 0};
  if (poll(&reader, 1, 0) != 0) return true;
  while (HasPatience()) {
    const int ready = poll(&reader, 1, kSlice);
    if (ready > 0 || (ready < 0 && errno != EINTR)) return true;
  }
  return false;
}

// How many bytes a descriptor that can be written to takes without waiting.
std::size_t RoomOf(int descriptor, mode_t kind, std::size_t wanted) noexcept {
  if (S_ISFIFO(kind)) {
    int held = 0;
    const bool isEmpty = ioctl(descriptor, FIONREAD, &held) == 0 && held == 0;
    const int whole = isEmpty ? fcntl(descriptor, F_GETPIPE_SZ) : 0;
    return std::min<std::size_t>(wanted, std::max(whole, PIPE_BUF));
  }
  constexpr std::size_t kOfATerminal = 512;
  return S_ISCHR(kind) ? std::min(wanted, kOfATerminal) : wanted;
}

// As write(), but nothing waits for a socket's reader.
ssize_t WriteSome(int descriptor, mode_t kind, std::string_view bytes) noexcept {
  if (S_ISSOCK(kind)) {
    return send(descriptor, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
  }
  return write(descriptor, bytes.data(), RoomOf(descriptor, kind, bytes.size()));
}

// 0, or the errno of what could not be written.
int Write(int descriptor, std::string_view bytes) noexcept {
  struct stat status {};
  const mode_t kind = fstat(descriptor, &status) == 0 ? status.st_mode : 0;
  while (!bytes.empty()) {
    if (!S_ISREG(kind) && !WaitForReader(descriptor)) {
      hasDropped = hasDropped || isInHurry;
      return 0;
    }
    const ssize_t count = WriteSome(descriptor, kind, bytes);
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) continue;
    if (count <= 0) return errno != 0 ? errno : EIO;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return 0;
}

void NoteOutputError(int error) noexcept {
  int none = 0;
  if (outputError.compare_exchange_strong(none, error)) stop::Request(stop::Reason::kUser);
}

void FlushByTheLibrary() noexcept {
  errno = 0;
  if (fflush_unlocked(stdout) != 0) NoteOutputError(errno != 0 ? errno : EIO);
}

// The caller holds the stream's lock.
void FlushLocked() noexcept {
  if (!isBuffered) return FlushByTheLibrary();
  isFlushing = 1;
  if (const std::size_t count = __fpending(stdout); count > 0) {
    if (const int error = Write(STDOUT_FILENO, {buffer, count})) NoteOutputError(error);
    __fpurge(stdout);
  }
  isFlushing = 0;
  // What others printed past this file and the library could not write.
  if (ferror_unlocked(stdout)) NoteOutputError(EIO);
}

}  // namespace

void Hurry() noexcept { isInHurry = true; }
void TakeTime() noexcept { isInHurry = hasDropped = false; }
bool HasDropped() noexcept { return hasDropped; }

void PrepareOutput() {
  isTerminal = isatty(STDOUT_FILENO) == 1;
  isBuffered = !isTerminal && std::setvbuf(stdout, buffer, _IOFBF, sizeof buffer) == 0;
}

void Output(std::string_view text) noexcept {
  flockfile(stdout);
  if (isBuffered && text.size() < sizeof buffer - __fpending(stdout)) {
    fwrite_unlocked(text.data(), 1, text.size(), stdout);
  } else if (isBuffered || isTerminal) {
    FlushLocked();
    if (const int error = Write(STDOUT_FILENO, text)) NoteOutputError(error);
  } else {
    errno = 0;
    if (fwrite_unlocked(text.data(), 1, text.size(), stdout) != text.size()) {
      NoteOutputError(errno != 0 ? errno : EIO);
    }
  }
  funlockfile(stdout);
}

int OutputNow(std::string_view text) noexcept {
  flockfile(stdout);
  FlushLocked();
  const int error = Write(STDOUT_FILENO, text);
  if (error != 0) NoteOutputError(error);
  funlockfile(stdout);
  return error;
}

void FlushOutput() noexcept {
  flockfile(stdout);
  FlushLocked();
  funlockfile(stdout);
}

// The lock lets the thread that holds it in again.
void FlushOutputIfFree() noexcept {
  if (isFlushing || ftrylockfile(stdout) != 0) return;
  FlushLocked();
  funlockfile(stdout);
}

void FlushOutputAtOnce() noexcept {
  waits = false;
  FlushOutputIfFree();
}

int OutputError() noexcept { return outputError; }

int Error(std::string_view text) noexcept { return Write(STDERR_FILENO, text); }

int To(std::FILE* file, std::string_view text) noexcept { return Write(fileno(file), text); }

}  // namespace standard_write
