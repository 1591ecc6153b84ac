#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "tavhost/base/stop.h"
#include "tavhost/service/script_service.h"

// The requests of the script service on their way to the user-interface thread.
namespace script::service {

struct Reply {
  unsigned status = 200;
  std::string json;
};

struct Job {
  enum class Kind { kScript, kCommand, kAnswer };

  Kind kind = Kind::kScript;
  std::string text;
  std::string question;  // the id of the one that is answered
  // How long its client may take to answer a window; zero: it does not answer them.
  std::chrono::seconds questionTime{0};
  // Called once: it holds the connection until then. By whoever takes the job from the queue.
  std::function<void(Reply)> reply;
  // Nobody waits for the reply any more; of an answer that is being looked at.
  std::atomic<bool> abandoned{false};
};

// Sends the reply, once: it holds the connection, which goes with it. Null: nobody waits for it.
void Send(const std::shared_ptr<Job>& job, Reply reply);
// The reply that nobody reads.
Reply ClientLeft();

// First come, first served; one at a time, and never inside another script's waiting.
class Queue {
 public:
  explicit Queue(std::size_t limit) : limit_(limit) {}

  // From any thread. False when the queue is full.
  bool Add(std::shared_ptr<Job> job);
  // From any thread: an answer to the question that is open. It is handed to the script that asked,
  // or refused with the reply.
  std::optional<Reply> Answer(std::shared_ptr<Job> job);
  // From any thread: nobody waits for the job's reply any more. It leaves the queue at once, or the
  // script that was to give the reply is stopped.
  void Abandon(Job& job);
  // Drops what waits; the replies say that the service ends.
  void Close();

  // Runs what waits, unless a script runs. On the user-interface thread.
  void Run();

  // The rest is for the user-interface thread too.
  // The queue whose job runs; null when none does.
  static Queue* Running();
  bool IsRunning() const { return running_ != nullptr; }
  bool AsksClient() const { return running_->questionTime.count() > 0; }
  // See AskClient.
  void Ask(Question& question);

 private:
  struct ClosedQuestion {
    std::string id;
    Reply refusal;  // what a late answer gets
  };

  void RunJob(const std::shared_ptr<Job>& job);
  std::string RunScript(stop::Reason& reason);
  std::string RunCommand(stop::Reason& reason);
  std::string StoppedText() const;
  // Whether the answer fits; the question is closed then.
  bool Accept(Question& question, const std::shared_ptr<Job>& answer);
  // With the lock held: why the open question cannot be answered any more; empty when it can.
  std::string WhyUnanswerable() const;
  void CloseQuestion(Reply refusal);

  const std::size_t limit_;
  mutable std::mutex mutex_;
  std::deque<std::shared_ptr<Job>> waiting_;
  std::shared_ptr<Job> running_;
  // Whose client gets the next reply of the running job: its own, later that of an answer; nobody
  // while a question is open.
  std::shared_ptr<Job> waiter_;
  bool clientLeft_ = false;   // the running job was stopped because nobody waited for it
  std::string notAnswered_;   // why it was stopped, when that was a question
  std::string output_;        // what it has printed
  std::string openQuestion_;  // an id; empty: none is open
  std::chrono::steady_clock::time_point questionEnd_;
  std::shared_ptr<Job> answer_;                 // to the open question, not yet looked at
  std::deque<ClosedQuestion> closedQuestions_;  // the latest
  bool announced_ = false;                      // the user-interface thread was told of what waits
  bool closed_ = false;
};

}  // namespace script::service
