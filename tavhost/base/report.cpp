#include "tavhost/base/report.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <mutex>
#include <new>
#include <string>
#include <thread>
#include <utility>

#include "tavhost/base/standard_write.h"

namespace report {

namespace {

std::mutex mutex;                            // held while something goes out
std::atomic<std::size_t> statusColumns = 0;  // of the status line that shows
std::atomic<bool> waits = true;              // for whoever reads standard error

class KeptErrno {
 public:
  KeptErrno() : before_(errno) {}
  KeptErrno(const KeptErrno&) = delete;
  KeptErrno& operator=(const KeptErrno&) = delete;
  ~KeptErrno() { errno = before_; }

 private:
  const int before_;
};

// What nobody has read yet, once nobody waits for the reader any more. A thread writes it out and
// may wait as long as it likes.
class Backlog {
 public:
  // Lives as long as the process: the thread may still wait when that ends.
  static Backlog& Get() {
    static auto* const backlog = new Backlog;
    return *backlog;
  }

  // What was taken by the reader or kept; what is neither is counted.
  void Take(std::string_view text) noexcept {
    const std::lock_guard lock(mutex_);
    if (kept_.empty()) text.remove_prefix(detail::WriteWithin(text, 0));
    if (!text.empty()) Keep(text);
  }

  void WaitUntilRead(std::chrono::milliseconds limit) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, limit, [this] { return kept_.empty(); });
  }

 private:
  static constexpr std::size_t kMostBytes = std::size_t{1} << 20;

  void Keep(std::string_view text) noexcept {
    try {
      if (!kept_.empty() && bytes_ + text.size() > kMostBytes) {
        ++dropped_;
        return;
      }
      TellDropped();
      Add(std::string(text));
      if (!hasThread_) std::thread([this] { WriteOut(); }).detach();
      hasThread_ = true;
    } catch (const std::exception&) {  // no memory, no thread
      ++dropped_;
    }
  }

  void Add(std::string text) {
    bytes_ += text.size();
    kept_.push_back(std::move(text));
    changed_.notify_all();
  }

  void TellDropped() {
    if (dropped_ == 0) return;
    Add("tavhost: " + std::to_string(dropped_) +
        " messages are missing here: nobody read standard error\n");
    dropped_ = 0;
  }

  // On its own thread, for good. What is being written stays the first until it is out.
  void WriteOut() {
    std::unique_lock lock(mutex_);
    while (true) {
      changed_.wait(lock, [this] { return !kept_.empty(); });
      const std::string& text = kept_.front();
      lock.unlock();
      detail::Write(text);
      lock.lock();
      bytes_ -= text.size();
      kept_.pop_front();
      if (kept_.empty()) TellDropped();
      changed_.notify_all();
    }
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::string> kept_;
  std::size_t bytes_ = 0;    // of what is kept
  std::size_t dropped_ = 0;  // messages since the last that was kept
  bool hasThread_ = false;
};

void Deliver(std::string_view text) noexcept {
  if (waits) {
    standard_write::Error(text);
  } else {
    Backlog::Get().Take(text);
  }
}

// Writes `text` and `end` in the place of the status line, behind what was printed before. The
// caller holds the lock.
void WriteInOrder(std::string_view text, std::string_view end) {
  standard_write::FlushOutput();
  const std::size_t columns = statusColumns.exchange(0);
  try {
    std::string all;
    if (columns > 0) all = '\r' + std::string(columns, ' ') + '\r';
    all.append(text).append(end);
    if (!all.empty()) Deliver(all);
  } catch (const std::bad_alloc&) {
    // In pieces is better than not at all.
    Deliver(text);
    Deliver(end);
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

void NeverWait() {
  Backlog::Get();
  waits = false;
}

void Finish() noexcept {
  constexpr std::chrono::milliseconds kALittle{500};
  if (!waits) Backlog::Get().WaitUntilRead(kALittle);
}

void LineAtCrash(std::string_view text) noexcept {
  constexpr int kSecond = 1000;
  constexpr std::string_view kBlanks =
      "                                                            "
      "                    ";
  if (const std::size_t columns = std::min(statusColumns.exchange(0), kBlanks.size())) {
    detail::WriteWithin("\r", kSecond);
    detail::WriteWithin(kBlanks.substr(0, columns), kSecond);
    detail::WriteWithin("\r", kSecond);
  }
  detail::WriteWithin(text, kSecond);
}

}  // namespace report
