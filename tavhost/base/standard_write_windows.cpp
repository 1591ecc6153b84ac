#include <io.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdio>

#include "tavhost/base/standard_write.h"
#include "tavhost/base/stop.h"

namespace standard_write {

namespace {

constexpr std::size_t kBufferSize = std::size_t{1} << 16;

std::atomic<int> outputError{0};

void NoteOutputError() noexcept {
  int none = 0;
  const int error = errno != 0 ? errno : EIO;
  if (outputError.compare_exchange_strong(none, error)) stop::Request(stop::Reason::kUser);
}

}  // namespace

void Hurry() noexcept {}
void TakeTime() noexcept {}
bool HasDropped() noexcept { return false; }

void PrepareOutput() {
  if (!_isatty(_fileno(stdout))) std::setvbuf(stdout, nullptr, _IOFBF, kBufferSize);
}

void Output(std::string_view text) noexcept {
  errno = 0;
  if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size()) NoteOutputError();
}

int OutputNow(std::string_view text) noexcept {
  Output(text);
  FlushOutput();
  return outputError;
}

void FlushOutput() noexcept {
  errno = 0;
  if (std::fflush(stdout) != 0 || std::ferror(stdout)) NoteOutputError();
}

// Nothing tells whether the stream is in use here; whoever calls must be able to wait.
void FlushOutputIfFree() noexcept { std::fflush(stdout); }

int OutputError() noexcept { return outputError; }

int To(std::FILE* file, std::string_view text) noexcept {
  errno = 0;
  if (std::fwrite(text.data(), 1, text.size(), file) == text.size()) return 0;
  return errno != 0 ? errno : EIO;
}

// Past the stream, which has a buffer of its own or writes byte by byte.
int Error(std::string_view text) noexcept {
  constexpr std::size_t kMost = std::size_t{1} << 30;  // its counts are ints
  const int file = _fileno(stderr);
  if (file < 0) return 0;  // a program without a console
  while (!text.empty()) {
    const int count =
        _write(file, text.data(), static_cast<unsigned>(std::min(text.size(), kMost)));
    if (count <= 0) return errno != 0 ? errno : EIO;
    text.remove_prefix(static_cast<std::size_t>(count));
  }
  return 0;
}

}  // namespace standard_write
