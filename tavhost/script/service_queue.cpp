#include "tavhost/script/service_queue.h"

#include <utility>

#include "host/notation/kel_value.h"
#include "host/script/script_result.h"
#include "tavhost/notation/document.h"
#include "tavhost/notation/kel_value_set.h"
#include "tavhost/notation/parser_access.h"
#include "tavhost/script/ports.h"
#include "tavhost/script/runner.h"
#include "tavhost/script/script_service.h"
#include "tavhost/script/service_json.h"
#include "tavhost/sv/stop.h"
#include "tavhost/ui/toolkit.h"

namespace script::service {

namespace {

constexpr char kRequestName[] = "request";

SV::String ToString(const std::string& text) {
  return SV::String(text.data(), static_cast<long>(text.size()));
}

std::string StoppedText(const Job& job) {
  return job.abandoned ? "the client left" : "the script was stopped";
}

std::string RunScript(const Job& job, stop::Reason& reason) {
  std::string output;
  RunOptions options;
  options.name = kRequestName;
  options.sinks.print = [&output](std::string_view text) { output += text; };
  const Outcome outcome = RunText(ToString(job.text), options);
  std::string error;
  bool failed = true;
  if (!outcome.parsed || outcome.exitType == TavScriptExitError) {
    const Diagnostic& at = outcome.error;
    error = at.file + ':' + std::to_string(at.line) + ':' + std::to_string(at.column) +
            ": error: " + at.message;
  } else if (outcome.exitType == TavScriptExitStop) {
    reason = outcome.stopReason;
    error = StoppedText(job);
  } else {
    failed = false;
  }
  return ReplyJson(kel::Scope::Of(*TavScript::GlobalVars()), output, failed ? &error : nullptr);
}

std::string RunCommand(const Job& job, stop::Reason& reason) {
  TavKelParser parser(ToString(job.text));
  kel::ParseError parseError;
  if (!kel::ParserAccess::Parse(parser, parseError)) {
    return ErrorJson(std::to_string(parseError.line) + ':' + std::to_string(parseError.column) +
                     ": " + parseError.message);
  }
  if (kel::ParserAccess::Count(parser) != 1) return ErrorJson("a request takes one command");
  TavKelValue variables(TavKelRecord);
  TavScriptResult result(&variables);
  const std::string name(parser.GetCurElemName().View());
  std::string error;
  try {
    if (!ScriptPort::TavScript().Handle(name.c_str(), parser, result)) {
      error = UnknownCommandText(TavMessagePort::TavScript(), name);
    } else if (result.HasError()) {
      error = std::string(result.GetError().View());
    }
  } catch (const stop::Stopped&) {
    error = StoppedText(job);
  } catch (const std::exception& failure) {
    error = name + ": " + failure.what();
  }
  reason = stop::Requested();
  stop::Clear();
  return ReplyJson(kel::Value::Of(variables), "", error.empty() ? nullptr : &error);
}

}  // namespace

bool Queue::Add(std::shared_ptr<Job> job) {
  const std::lock_guard lock(mutex_);
  if (closed_ || waiting_.size() >= limit_) return false;
  waiting_.push_back(std::move(job));
  if (!announced_) {
    announced_ = true;
    ui::Post(RunWaitingRequests);
  }
  return true;
}

void Queue::Abandon(Job& job) {
  const std::lock_guard lock(mutex_);
  job.abandoned = true;
  if (running_ == &job) {
    stop::Request(stop::Reason::kUser);
    ui::WakeUp();
  }
}

void Queue::Close() {
  std::deque<std::shared_ptr<Job>> dropped;
  {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    dropped.swap(waiting_);
  }
  for (const auto& job : dropped) job->reply(ErrorJson("the service ends"));
}

void Queue::Run() {
  while (true) {
    std::shared_ptr<Job> job;
    {
      const std::lock_guard lock(mutex_);
      announced_ = false;
      if (running_ || waiting_.empty() || IsScriptRunning() || stop::IsRequested()) return;
      job = std::move(waiting_.front());
      waiting_.pop_front();
      if (job->abandoned) continue;
      running_ = job.get();
      announced_ = true;  // the rest follows in this loop
    }
    RunJob(*job);
  }
}

void Queue::RunJob(Job& job) {
  SetServingRequest(true);
  stop::Reason reason = stop::Reason::kNone;
  std::string reply =
      job.kind == Job::Kind::kScript ? RunScript(job, reason) : RunCommand(job, reason);
  SetServingRequest(false);
  {
    const std::lock_guard lock(mutex_);
    running_ = nullptr;
    // A stop that was not meant for this request alone ends the program around it.
    if (job.abandoned) {
      stop::Clear();
    } else if (reason == stop::Reason::kUser) {
      stop::Request(reason);
    }
  }
  job.reply(std::move(reply));
}

}  // namespace script::service
