#include "tavhost/service/queue.h"

#include <algorithm>
#include <new>
#include <optional>
#include <tl/expected.hpp>
#include <utility>

#include "host/notation/kel_value.h"
#include "host/script/script_result.h"
#include "tavhost/base/event_loop.h"
#include "tavhost/base/memory_reserve.h"
#include "tavhost/base/string_of.h"
#include "tavhost/notation/allocation_hook.h"
#include "tavhost/notation/document.h"
#include "tavhost/notation/parser_access.h"
#include "tavhost/notation/scope.h"
#include "tavhost/script/ports/ports.h"
#include "tavhost/script/runner.h"
#include "tavhost/script/script_error.h"
#include "tavhost/service/json.h"
#include "tavhost/service/script_service.h"

namespace script::service {

namespace {

constexpr char kRequestName[] = "request";
constexpr char kClientLeft[] = "the client left";

Queue* runningQueue = nullptr;

}  // namespace

std::string TooLongText() {
  constexpr std::size_t kMega = std::size_t{1} << 20;
  const std::size_t limit = GetHostOptions().replyLimit;
  const std::string size = limit % kMega == 0 ? std::to_string(limit / kMega) + " MiB"
                                              : std::to_string(limit) + " bytes";
  return "the reply is longer than " + size;
}

Reply ClientLeft() { return {200, ErrorJson(kClientLeft)}; }

void Send(const std::shared_ptr<Job>& job, Reply reply) {
  if (!job) return;
  const memory_reserve::Use reserve;
  const auto send = std::exchange(job->reply, nullptr);
  send(std::move(reply));
}

bool Queue::Add(std::shared_ptr<Job> job) {
  const std::lock_guard lock(mutex_);
  if (closed_ || waiting_.size() >= limit_) return false;
  waiting_.push_back(std::move(job));
  if (!announced_) {
    announced_ = true;
    event_loop::Post(RunWaitingRequests);
  }
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
      clientLeft_ = true;
      stop::Request(stop::Reason::kUser);
    } else if (waits != waiting_.end()) {
      dropped = std::move(*waits);
      waiting_.erase(waits);
    } else if (answer_.get() == &job) {
      dropped.swap(answer_);
    } else {
      job.abandoned = true;
    }
  }
  Send(dropped, ClientLeft());
}

void Queue::Close() {
  std::deque<std::shared_ptr<Job>> dropped;
  {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    dropped.swap(waiting_);
  }
  for (const auto& job : dropped) Send(job, {200, ErrorJson("the service ends")});
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
    reply.json = job->kind == Job::Kind::kScript ? RunScript(reason) : RunCommand(reason);
  } catch (const std::bad_alloc&) {
    const memory_reserve::Use reserve;
    reply.json = ErrorJson("out of memory");
  }
  // What the script made is the reply's now; the next one may need the memory.
  {
    const memory_reserve::Use reserve;  // is set aside again behind it, if it was taken
    kel::Scope::Of(*TavScript::GlobalVars()).Clear();
    output_ = {};
  }
  SetServingRequest(false);
  runningQueue = nullptr;
  std::shared_ptr<Job> waiter;
  {
    const std::lock_guard lock(mutex_);
    running_.reset();
    waiter.swap(waiter_);
    // A stop because the client left was meant for this request alone. Any other one is for the
    // whole program and is asked for again, since running the script has used it up.
    if (std::exchange(clientLeft_, false)) {
      stop::Clear();
    } else if (reason != stop::Reason::kNone && reason != stop::Reason::kNoAnswer) {
      stop::Request(reason);
    }
  }
  Send(waiter, std::move(reply));
}

std::string Queue::StoppedText() const {
  if (!notAnswered_.empty()) return notAnswered_;
  const std::lock_guard lock(mutex_);
  return clientLeft_ ? kClientLeft : "the script was stopped";
}

// A script may catch the error and go on; its reply is an error all the same.
void Queue::Print(std::string_view text) {
  if (text.size() > GetHostOptions().replyLimit - output_.size()) {
    isTooLong_ = true;
    throw ScriptError(TooLongText());
  }
  output_ += text;
}

std::string Queue::RunScript(stop::Reason& reason) {
  RunOptions options;
  options.name = kRequestName;
  options.sinks.print = [this](std::string_view text) { Print(text); };
  const Outcome outcome = RunText(base::StringOf(running_->text), options);
  std::string error;
  bool failed = true;
  if (!outcome.parsed || outcome.exitType == TavScriptExitError) {
    const Diagnostic& at = outcome.error;
    error = at.file + ':' + std::to_string(at.line) + ':' + std::to_string(at.column) +
            ": error: " + at.message;
    // Nothing ran: the variables that stand there are those of the script before.
    if (!outcome.parsed) return ErrorJson(error);
  } else if (outcome.exitType == TavScriptExitStop) {
    reason = outcome.stopReason;
    error = StoppedText();
    if (reason == stop::Reason::kTimeout) {
      error += " at line " + std::to_string(outcome.error.line) +
               ": the time limit of the whole service is over";
    }
  } else {
    failed = false;
  }
  if (isTooLong_) return ErrorJson(failed ? error : TooLongText());
  try {
    std::optional<std::string> reply =
        ReplyJson(kel::Scope::Of(*TavScript::GlobalVars()), output_, failed ? &error : nullptr,
                  GetHostOptions().replyLimit);
    return reply ? std::move(*reply) : ErrorJson(TooLongText());
  } catch (const std::bad_alloc&) {  // the variables have taken it all
    if (!failed) throw;
    const memory_reserve::Use reserve;
    return ErrorJson(error);
  }
}

std::string Queue::RunCommand(stop::Reason& reason) {
  TavKelParser parser(base::StringOf(running_->text));
  if (const base::Result<void> parsed = kel::ParserAccess::Parse(parser); !parsed) {
    const base::Error& mistake = parsed.error();
    return ErrorJson(std::to_string(mistake.line) + ':' + std::to_string(mistake.column) + ": " +
                     mistake.message);
  }
  if (kel::ParserAccess::Count(parser) != 1) return ErrorJson("a request takes one command");
  TavKelValue variables(TavKelRecord);
  TavScriptResult result(&variables);
  const std::string name(parser.GetCurElemName().View());
  kel::TakeAllocationRefused();  // what was refused before is nothing of this command's
  std::string error;
  try {
    if (!ScriptPort::TavScript().Handle(name.c_str(), parser, result)) {
      error = UnknownCommandText(TavMessagePort::TavScript(), name);
    } else if (result.HasError()) {
      error = std::string(result.GetError().View());
    }
  } catch (const stop::Stopped&) {
    error = StoppedText();
  } catch (const std::bad_alloc&) {
    const memory_reserve::Use reserve;
    error = name + ": out of memory";
  } catch (const std::exception& failure) {
    error = name + ": " + failure.what();
  }
  // No runner of scripts is around a single command that would take the stop away.
  reason = stop::Requested();
  stop::Clear();
  if (kel::TakeAllocationRefused()) throw std::bad_alloc();
  std::optional<std::string> reply = ReplyJson(
      kel::Value::Of(variables), "", error.empty() ? nullptr : &error, GetHostOptions().replyLimit);
  return reply ? std::move(*reply) : ErrorJson(TooLongText());
}

}  // namespace script::service
