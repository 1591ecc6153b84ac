#include "tavhost/base/report.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <mutex>
#include <new>
#include <string>

namespace report {

namespace {

std::mutex mutex;                            // held while something goes out
std::atomic<std::size_t> statusColumns = 0;  // of the status line that shows
std::atomic<int> outputError = 0;

class KeptErrno {
 public:
  KeptErrno() : before_(errno) {}
  KeptErrno(const KeptErrno&) = delete;
  KeptErrno& operator=(const KeptErrno&) = delete;
  ~KeptErrno() { errno = before_; }

 private:
  const int before_;
};

void FlushOutput() {
  errno = 0;
  if (std::fflush(stdout) != 0 && outputError == 0) outputError = errno != 0 ? errno : EIO;
}

// Writes `text` and `end` in the place of the status line, behind what was printed before. The
// caller holds the lock.
void WriteInOrder(std::string_view text, std::string_view end) {
  FlushOutput();
  const std::size_t columns = statusColumns.exchange(0);
  try {
    std::string all;
    if (columns > 0) all = '\r' + std::string(columns, ' ') + '\r';
    all.append(text).append(end);
    if (!all.empty()) detail::Write(all);
  } catch (const std::bad_alloc&) {
    // In pieces is better than not at all.
    detail::Write(text);
    detail::Write(end);
  }
}

std::size_t ColumnsOf(std::string_view line) {
  return static_cast<std::size_t>(
      std::count_if(line.begin(), line.end(), [](char byte) { return (byte & '\xC0') != '\x80'; }));
}

}  // namespace

void Line(std::string_view text) noexcept {
  const KeptErrno kept;
  const std::lock_guard lock(mutex);
  WriteInOrder(text, text.ends_with('\n') ? "" : "\n");
}

void Text(std::string_view text) noexcept {
  const KeptErrno kept;
  const std::lock_guard lock(mutex);
  WriteInOrder(text, "");
}

void ShowStatus(std::string_view line) noexcept {
  const KeptErrno kept;
  const std::lock_guard lock(mutex);
  WriteInOrder(line, "");
  statusColumns = ColumnsOf(line);
}

void TakeStatusAway() noexcept {
  if (statusColumns != 0) ShowStatus("");
}

int OutputError() noexcept { return outputError; }

}  // namespace report
