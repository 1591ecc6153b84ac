#include "tavhost/service/queue.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <new>
#include <optional>
#include <tl/expected.hpp>
#include <utility>

#include "host/notation/kel_value.h"
#include "host/script/script_result.h"
#include "tavhost/base/ascii.h"
#include "tavhost/base/event_loop.h"
#include "tavhost/base/memory_reserve.h"
#include "tavhost/base/refused_memory.h"
#include "tavhost/base/string_of.h"
#include "tavhost/notation/document.h"
#include "tavhost/notation/parser_access.h"
#include "tavhost/notation/scope.h"
#include "tavhost/script/ports/ports.h"
#include "tavhost/script/runner.h"
#include "tavhost/script/script_error.h"
#include "tavhost/service/json.h"
#include "tavhost/service/log.h"
#include "tavhost/service/script_service.h"
#include "tavhost/service/spare_memory.h"

namespace script::service {

namespace {

constexpr char kRequestName[] = "request";
constexpr char kCancelled[] = "the request was cancelled";

using Clock = std::chrono::steady_clock;

Queue* runningQueue = nullptr;

double SecondsSince(Clock::time_point begin) {
  return std::chrono::duration<double>(Clock::now() - begin).count();
}

std::string_view PathOf(const Order& order) {
  return order.kind == Order::Kind::kScript ? "/script" : "/command";
}

// The folder in which every request begins: the one in which the service was started. Restored
// behind each, without a look where it has led, for which there may be no memory.
class WorkFolder {
 public:
  explicit WorkFolder(const std::filesystem::path& folder) : folder_(folder) {}
  WorkFolder(const WorkFolder&) = delete;
  WorkFolder& operator=(const WorkFolder&) = delete;
  ~WorkFolder() {
    std::error_code error;  // of a folder that is gone nothing can be said
    std::filesystem::current_path(folder_, error);
  }

 private:
  const std::filesystem::path& folder_;
};

// Where the only element of a text begins: behind blanks, ends of lines and comments.
Ending::Place PlaceOfCommand(std::string_view text) {
  std::uint32_t line = 1;
  std::size_t lineBegin = 0;
  std::size_t at = text.starts_with("\xEF\xBB\xBF") ? 3 : 0;
  while (at < text.size()) {
    if (text[at] == '#') at = std::min(text.find('\n', at), text.size() - 1);
    if (text[at] == '\n') {
      ++line;
      lineBegin = at + 1;
    } else if (!ascii::IsSpace(text[at]) && text[at] != ';') {
      break;
    }
    ++at;
  }
  return {kRequestName, line, static_cast<std::uint32_t>(at - lineBegin + 1)};
}

std::string ShortNumber(double number) {
  char digits[32];
  std::snprintf(digits, sizeof digits, "%.15g", number);
  return digits;
}

// Empty where there is no memory for it.
std::string ErrorOrNothing(const char* error) noexcept {
  try {
    return ErrorJson(error);
  } catch (const std::bad_alloc&) {
    return {};
  }
}

}  // namespace

std::string TooLongText() {
  constexpr std::size_t kMega = std::size_t{1} << 20;
  const std::size_t limit = GetHostOptions().replyLimit;
  const std::string size = limit % kMega == 0 ? std::to_string(limit / kMega) + " MiB"
                                              : std::to_string(limit) + " bytes";
  return "the reply is longer than " + size;
}

void Send(const std::shared_ptr<Job>& job, Reply reply) noexcept {
  if (!job) return;
  const auto send = std::exchange(job->reply, nullptr);
  send(std::move(reply));
}

void SendError(const std::shared_ptr<Job>& job, const char* error) noexcept {
  if (job) Send(job, {200, ErrorOrNothing(error)});
}

namespace {

std::filesystem::path CurrentFolder() {
  std::error_code error;  // one that is gone has no name; nothing is restored then
  return std::filesystem::current_path(error);
}

}  // namespace

Queue::Queue(std::size_t limit)
    : limit_(limit), requestTime_(GetHostOptions().requestTime), folder_(CurrentFolder()) {}

bool Queue::Add(const std::shared_ptr<Job>& job) {
  auto& limit = job->order.timeLimit;
  if (requestTime_ && (!limit || *limit > *requestTime_)) limit = requestTime_;
  const std::lock_guard lock(mutex_);
  if (closed_ || waiting_.size() >= limit_) return false;
  waiting_.push_back(job);
  if (!openQuestion_.empty()) event_loop::WakeUp();  // it may be the end of the service
  if (announced_) return true;
  try {
    event_loop::Post(RunWaitingRequests);
  } catch (const std::bad_alloc&) {
    waiting_.pop_back();
    throw;
  }
  announced_ = true;
  return true;
}

// Of a job that waits nothing remains. The script that owes the client its reply is stopped. An
// answer is taken back if the script has not looked at it yet; else it is marked, for Accept to
// see.
void Queue::Abandon(Job& job) {
  std::shared_ptr<Job> dropped;
  {
    const std::lock_guard lock(mutex_);
    const auto waits =
        std::find_if(waiting_.begin(), waiting_.end(),
                     [&job](const std::shared_ptr<Job>& other) { return other.get() == &job; });
    if (waiter_.get() == &job) {
      CutShort(Cut::kClientLeft);
    } else if (waits != waiting_.end()) {
      dropped = std::move(*waits);
      waiting_.erase(waits);
    } else if (answer_.get() == &job) {
      dropped.swap(answer_);
    } else {
      job.abandoned = true;
    }
  }
  SendError(dropped, kErrorClientLeft);
}

// A stop that was asked for before is for the whole program, and stays so.
void Queue::CutShort(Cut why) {
  if (stop::IsRequested()) return;
  cut_ = why;
  // Where the plug-in heeds no stop, the program ends with the exit code of that.
  stop::Request(why == Cut::kTime ? stop::Reason::kTimeout : stop::Reason::kTerminate);
}

bool Queue::Cancel(const std::string& id) {
  std::shared_ptr<Job> dropped;
  {
    const std::lock_guard lock(mutex_);
    const auto waits =
        std::find_if(waiting_.begin(), waiting_.end(),
                     [&id](const std::shared_ptr<Job>& other) { return other->id == id; });
    if (running_ && running_->id == id) {
      CutShort(Cut::kCancelled);
      return true;
    }
    if (waits == waiting_.end()) return false;
    dropped = std::move(*waits);
    waiting_.erase(waits);
  }
  SendError(dropped, kCancelled);
  return true;
}

void Queue::CheckTime() {
  const std::lock_guard lock(mutex_);
  if (!running_ || !running_->order.timeLimit || cut_ != Cut::kNone) return;
  if (Clock::now() - begin_ >= *running_->order.timeLimit) CutShort(Cut::kTime);
}

bool Queue::IsBusy() const {
  const std::lock_guard lock(mutex_);
  return running_ || !waiting_.empty();
}

std::string Queue::StatusJson() const {
  Status status;
  {
    const std::lock_guard lock(mutex_);
    if (running_) {
      status.running = {running_->id, PathOf(running_->order), SecondsSince(begin_)};
      status.since = DateText(beginDate_);
    }
    if (!openQuestion_.empty()) {
      status.question = {openQuestion_, -SecondsSince(questionEnd_)};
    }
    for (const std::shared_ptr<Job>& job : waiting_) {
      status.waiting.push_back({job->id, PathOf(job->order), SecondsSince(job->arrival)});
    }
  }
  return service::StatusJson(status);
}

void Queue::Close() {
  while (true) {
    std::shared_ptr<Job> dropped;
    {
      const std::lock_guard lock(mutex_);
      closed_ = true;
      if (waiting_.empty()) break;
      dropped = std::move(waiting_.front());
      waiting_.pop_front();
    }
    SendError(dropped, kErrorServiceEnds);
  }
  event_loop::WakeUp();
}

// A script of the program's own may be running: what waits then stays until it has ended.
void Queue::Run() {
  while (true) {
    std::shared_ptr<Job> job;
    {
      const std::lock_guard lock(mutex_);
      announced_ = false;
      if (running_ || waiting_.empty() || IsScriptRunning() || stop::IsRequested()) return;
      job = std::move(waiting_.front());
      waiting_.pop_front();
      running_ = job;
      waiter_ = job;
      begin_ = Clock::now();
      beginDate_ = std::chrono::system_clock::now();
      announced_ = true;  // this loop takes what comes meanwhile
    }
    RunJob(job);
  }
}

Queue* Queue::Running() { return runningQueue; }

void Queue::RunJob(const std::shared_ptr<Job>& job) {
  output_ = {};
  isTooLong_ = false;
  notAnswered_.clear();
  runningQueue = this;
  SetServingRequest(true);
  stop::Reason reason = stop::Reason::kNone;
  Reply reply;
  try {
    const WorkFolder folder(folder_);
    if (const auto& prepare = GetHostOptions().prepare) prepare();
    reply.json =
        job->order.kind == Order::Kind::kScript ? RunScript(reason) : RunCommand(*job, reason);
  } catch (const std::bad_alloc&) {
    const memory_reserve::Use reserve;
    reply.json = ErrorOrNothing(kErrorNoMemory);
  }
  // What the script made is the reply's now; the next one may need the memory.
  {
    const memory_reserve::Use reserve;  // is set aside again behind it, if it was taken
    kel::Scope::Of(*TavScript::GlobalVars()).Clear();
    output_ = {};
    reply.request = job->id;
    // Memory cannot have grown much in less time, in which many a request is done.
    constexpr auto kShort = std::chrono::milliseconds(5);
    if (Clock::now() - begin_ > kShort) GiveBackIfGrown();
  }
  SetServingRequest(false);
  runningQueue = nullptr;
  std::shared_ptr<Job> waiter;
  {
    const std::lock_guard lock(mutex_);
    running_.reset();
    waiter.swap(waiter_);
    // A stop that was meant for this request alone ends with it. Any other one is for the whole
    // program and is asked for again, since running the script has used it up; where there was no
    // memory to tell of it, only the program knows of it.
    const bool isCut = std::exchange(cut_, Cut::kNone) != Cut::kNone;
    if (isCut) stop::Clear();
    const auto& interruption = GetHostOptions().interruption;
    const stop::Reason ofAll = interruption ? interruption() : stop::Reason::kNone;
    if (ofAll != stop::Reason::kNone) {
      stop::Request(ofAll);
    } else if (!isCut && reason != stop::Reason::kNone && reason != stop::Reason::kNoAnswer) {
      stop::Request(reason);
    }
  }
  Send(waiter, std::move(reply));
}

std::string Queue::StoppedText(stop::Reason reason, std::uint32_t line) const {
  const std::lock_guard lock(mutex_);
  return WhyStopped(reason, line);
}

std::string Queue::WhyStopped(stop::Reason reason, std::uint32_t line) const {
  const std::string stopped =
      "the script was stopped" + (line > 0 ? " at line " + std::to_string(line) : std::string());
  switch (cut_) {
    case Cut::kClientLeft:
      return notAnswered_.empty() ? kErrorClientLeft : notAnswered_;
    case Cut::kCancelled:
      return kCancelled;
    case Cut::kTime: {
      const std::chrono::duration<double> limit = *running_->order.timeLimit;
      return stopped + ": its time limit of " + ShortNumber(limit.count()) + " s is over";
    }
    case Cut::kNone:
      break;
  }
  switch (reason) {
    case stop::Reason::kTimeout:
      return stopped + ": the time limit of the whole service is over";
    case stop::Reason::kNoAnswer:
      return notAnswered_.empty() ? stopped + ": a window was not answered" : notAnswered_;
    case stop::Reason::kTerminate:
      return stopped + ": the service was told to end";
    default:
      return notAnswered_.empty() ? stopped + ": the service was interrupted" : notAnswered_;
  }
}

// A script may catch the error and go on; its reply is an error all the same.
void Queue::Print(std::string_view text) {
  if (text.size() > GetHostOptions().replyLimit - output_.size()) {
    isTooLong_ = true;
    throw ScriptError(TooLongText());
  }
  output_ += text;
}

void Queue::Describe(const Outcome& outcome, Ending& ending) const {
  const Diagnostic& at = outcome.error;
  if (!outcome.parsed || outcome.exitType == TavScriptExitError) {
    ending.error = at.file + ':' + std::to_string(at.line) + ':' + std::to_string(at.column) +
                   ": error: " + at.message;
    ending.at = {at.file, at.line, at.column, outcome.command};
  } else if (outcome.exitType == TavScriptExitStop) {
    ending.error = StoppedText(outcome.stopReason, at.line);
    if (at.line > 0) ending.at = {at.file, at.line, 0};
  } else if (outcome.exitType == TavScriptExitCode) {
    ending.exit = outcome.code;
  }
}

// What the request has left open is closed before its reply says that all went well.
void Queue::Release(bool cutShort, Ending& ending) {
  const auto& release = GetHostOptions().release;
  if (!release) return;
  const std::string mistake = release(cutShort);
  if (!ending.error && !mistake.empty()) ending.error = mistake;
}

std::string Queue::RunScript(stop::Reason& reason) {
  RunOptions options;
  options.name = kRequestName;
  options.sinks.print = [this](std::string_view text) { Print(text); };
  const Outcome outcome = RunText(base::StringOf(running_->text), options);
  Ending ending;
  Describe(outcome, ending);
  // Nothing ran: the variables that stand there are those of the script before.
  if (!outcome.parsed) return ErrorJson(*ending.error, ending.at);
  if (outcome.exitType == TavScriptExitStop) reason = outcome.stopReason;
  Release(ending.error.has_value(), ending);
  if (isTooLong_) {
    if (!ending.error) ending.error = TooLongText();
    return ReplyWithoutVariables("", ending, 0);
  }
  return BuildReply(kel::Scope::Of(*TavScript::GlobalVars()), output_, ending, reason);
}

// A stop that comes meanwhile is heeded, and stays for RunJob. Nobody reads what a client that has
// left would get; one whose script was stopped waits for the reason, not for the variables.
template <typename Variables>
std::string Queue::BuildReply(const Variables& variables, std::string_view output, Ending& ending,
                              stop::Reason reason) const {
  constexpr auto kTimeBehindStop = std::chrono::milliseconds(500);
  const std::size_t limit = GetHostOptions().replyLimit;
  auto end = Clock::time_point::max();
  if (reason != stop::Reason::kNone) {
    const std::lock_guard lock(mutex_);
    end = Clock::now();
    if (cut_ != Cut::kClientLeft) end += kTimeBehindStop;
  }
  const auto mustEnd = [&] { return stop::IsRequested() || Clock::now() >= end; };
  try {
    auto reply = ReplyJson(variables, output, ending, {limit, mustEnd});
    if (reply) return *std::move(reply);
    if (!ending.error && stop::IsRequested()) ending.error = StoppedText(stop::Requested(), 0);
    if (!ending.error) ending.error = TooLongText();
    return ReplyWithoutVariables(output, ending, limit);
  } catch (const std::bad_alloc&) {  // the variables have taken it all
    const memory_reserve::Use reserve;
    if (!ending.error) ending.error = kErrorNoMemory;
    return ReplyWithoutVariables("", ending, 0);
  }
}

std::string Queue::RunCommand(const Job& job, stop::Reason& reason) {
  TavKelParser parser(base::StringOf(job.text));
  if (const base::Result<void> parsed = kel::ParserAccess::Parse(parser); !parsed) {
    const base::Error& mistake = parsed.error();
    return ErrorJson(std::to_string(mistake.line) + ':' + std::to_string(mistake.column) + ": " +
                         mistake.message,
                     Ending::Place{kRequestName, mistake.line, mistake.column});
  }
  if (kel::ParserAccess::Count(parser) != 1) return ErrorJson("a request takes one command");
  TavKelValue variables(TavKelRecord);
  TavScriptResult result(&variables);
  const std::string name(parser.GetCurElemName().View());
  refused_memory::Take();  // what was refused before is nothing of this command's
  Ending ending;
  try {
    if (!ScriptPort::TavScript().Handle(name.c_str(), parser, result)) {
      ending.error = UnknownCommandText(TavMessagePort::TavScript(), name);
    } else if (result.HasError()) {
      ending.error = std::string(result.GetError().View());
    }
    stop::ThrowIfRequested();  // what it waited for may have ended it without a word
  } catch (const stop::Stopped&) {
    ending.error = StoppedText(stop::Requested(), 0);
  } catch (const std::bad_alloc&) {
    const memory_reserve::Use reserve;
    ending.error = name + ": out of memory";
  } catch (const std::exception& failure) {
    ending.error = name + ": " + failure.what();
  }
  if (ending.error) {
    const memory_reserve::Use reserve;
    ending.at = PlaceOfCommand(job.text);
    ending.at->command = name;
  }
  // No runner of scripts is around a single command that would take the stop away.
  reason = stop::Requested();
  stop::Clear();
  const bool wasRefused = refused_memory::Take();
  if (&job == running_.get()) Release(ending.error.has_value() || wasRefused, ending);
  if (wasRefused) throw std::bad_alloc();
  return BuildReply(kel::Value::Of(variables), "", ending, reason);
}

}  // namespace script::service
