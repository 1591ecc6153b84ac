#pragma once

#include <atomic>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

// The requests of the script service on their way to the user-interface thread.
namespace script::service {

struct Job {
  enum class Kind { kScript, kCommand };

  Kind kind = Kind::kScript;
  std::string text;
  // Called once with the reply's JSON, on the user-interface thread.
  std::function<void(std::string)> reply;
  std::atomic<bool> abandoned{false};  // nobody waits for the reply any more
};

// First come, first served; one at a time, and never inside another script's waiting.
class Queue {
 public:
  explicit Queue(std::size_t limit) : limit_(limit) {}

  // From any thread. False when the queue is full.
  bool Add(std::shared_ptr<Job> job);
  // From any thread: nobody waits for the job any more. It is dropped, or stopped when it runs.
  void Abandon(Job& job);
  // Drops what waits; the replies say that the service ends.
  void Close();

  // Runs what waits, unless a script runs. On the user-interface thread.
  void Run();

 private:
  void RunJob(Job& job);

  const std::size_t limit_;
  std::mutex mutex_;
  std::deque<std::shared_ptr<Job>> waiting_;
  Job* running_ = nullptr;
  bool announced_ = false;  // the user-interface thread was told of what waits
  bool closed_ = false;
};

}  // namespace script::service
