#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "tavhost/base/stop.h"
#include "tavhost/script/runner.h"
#include "tavhost/service/json.h"
#include "tavhost/service/request_check.h"
#include "tavhost/service/script_service.h"

// The requests of the script service on their way from the server's thread to the user-interface
// thread, where scripts run.
namespace script::service {

inline constexpr char kErrorClientLeft[] = "the client left";
inline constexpr char kErrorServiceEnds[] = "the service ends";
inline constexpr char kErrorNoMemory[] = "out of memory";

struct Reply {
  unsigned status = 200;
  std::string json;        // empty: there was no memory for it
  std::string request{};   // the id of the one that it belongs to; empty: of the one it answers
  std::string question{};  // the id of the one that it asks, or that it is about
  bool takesOver = true;   // whether its connection is the question's from now on
};

struct Job {
  std::string id;
  Order order;
  std::string text;
  std::chrono::steady_clock::time_point arrival;
  // Sends the reply. It keeps the connection alive until it is called, once, by whoever has the job
  // at that time; from any thread. It asks for no memory: each request gets its reply.
  std::function<void(Reply)> reply;
  // Set by Abandon for an answer that the script has taken but not accepted yet: its client is
  // gone.
  std::atomic<bool> abandoned{false};
};

// Sends the job's reply, after which its connection is no longer held. Nothing happens for a null
// job: nobody waits.
void Send(const std::shared_ptr<Job>& job, Reply reply) noexcept;
// Sends this error. To a client that has gone too: nobody reads it, but the job lets its connection
// go.
void SendError(const std::shared_ptr<Job>& job, const char* error) noexcept;

// Why a reply that does not fit is an error.
std::string TooLongText();

// First come, first served; one job at a time, and none while a script waits for something.
class Queue {
 public:
  explicit Queue(std::size_t limit);

  // From any thread. False when the queue is full. A job that it throws for is not in it.
  bool Add(const std::shared_ptr<Job>& job);
  // From any thread: an answer to the question that is open. It is handed to the script that asked,
  // or refused with the reply.
  std::optional<Reply> Answer(const std::shared_ptr<Job>& job);
  // From any thread: nobody waits for the job's reply any more. It leaves the queue at once, or the
  // script that was to give the reply is stopped.
  void Abandon(Job& job);
  // From any thread: the client of the question has closed its connection without having said that
  // it would. Unless it comes back with the answer at once, its script is stopped.
  void LeaveQuestion(const std::string& id);
  // From any thread: the request with this id, waiting or running, ends with an error. False when
  // there is none.
  bool Cancel(const std::string& id);
  // From any thread: what runs and what waits, as the JSON of a reply.
  std::string StatusJson() const;
  // From any thread, several times a second while something runs: stops what has had its time.
  void CheckTime();
  bool IsBusy() const;  // from any thread: something runs or waits
  // Drops what waits; the replies say that the service ends.
  void Close();

  // Runs what waits, unless a script runs. On the user-interface thread.
  void Run();

  // The rest is for the user-interface thread too.
  // The queue whose job runs; null when none does.
  static Queue* Running();
  bool IsRunning() const { return running_ != nullptr; }
  bool AsksClient() const { return running_->order.questionTime.count() > 0; }
  // See AskClient.
  void Ask(Question& question);
  // See TellUnanswered.
  void TellUnanswered(const std::string& reason) { notAnswered_ = reason; }

 private:
  struct ClosedQuestion {
    std::string id;
    Reply refusal;  // what a late answer gets
  };

  // Why the running job was stopped, when the stop is meant for it alone.
  enum class Cut { kNone, kClientLeft, kCancelled, kTime };

  void RunJob(const std::shared_ptr<Job>& job);
  // Each returns the reply's JSON.
  std::string RunScript(stop::Reason& reason);
  std::string RunCommand(const Job& job, stop::Reason& reason);
  // The reply of what has ended like that, which a stop for this reason may have ended.
  template <typename Variables>
  std::string BuildReply(const Variables& variables, std::string_view output, Ending& ending,
                         stop::Reason reason) const;
  void Print(std::string_view text);
  // `line` is that of the script; 0: it is not known.
  std::string StoppedText(stop::Reason reason, std::uint32_t line) const;
  std::string WhyStopped(stop::Reason reason, std::uint32_t line) const;  // with the lock held
  void Describe(const Outcome& outcome, Ending& ending) const;
  static void Release(bool cutShort, Ending& ending);
  void CutShort(Cut why);  // with the lock held
  // While a question is open: carries out what waits if it is the command that stops the service.
  void RunServiceStop();
  // Waits until the open question has an answer that fits. False: none can come any more.
  bool AwaitAnswer(Question& question, std::chrono::steady_clock::time_point begin);
  // Whether the answer fits; the question, open since `begin`, is closed then.
  bool Accept(Question& question, std::chrono::steady_clock::time_point begin,
              const std::shared_ptr<Job>& answer);
  // With the lock held: why the open question cannot be answered any more; empty when it can.
  std::string WhyUnanswerable() const;
  void CloseQuestion(Reply refusal);

  const std::size_t limit_;
  const std::optional<std::chrono::milliseconds> requestTime_;  // of each job
  const std::filesystem::path folder_;  // the current one when the service began
  mutable std::mutex mutex_;
  std::deque<std::shared_ptr<Job>> waiting_;
  std::shared_ptr<Job> running_;
  // The job whose client gets the next reply: at first the running job itself, after a question the
  // job that brought the answer. Null while a question is open, when no client waits.
  std::shared_ptr<Job> waiter_;
  std::chrono::steady_clock::time_point begin_;  // of the running job
  std::chrono::system_clock::time_point beginDate_;
  Cut cut_ = Cut::kNone;
  std::string notAnswered_;   // why it was stopped, when that was a window
  std::string output_;        // what it has printed
  bool isTooLong_ = false;    // it printed more than a reply takes
  std::string openQuestion_;  // an id; empty: none is open
  std::chrono::steady_clock::time_point questionEnd_;
  bool questionLeft_ = false;                   // by its client: the end has come nearer
  std::shared_ptr<Job> answer_;                 // to the open question, not yet looked at
  std::deque<ClosedQuestion> closedQuestions_;  // the latest, for answers that come late
  bool announced_ = false;                      // the user-interface thread knows that jobs wait
  bool closed_ = false;
};

}  // namespace script::service
