// The part of the queue in which the script that runs asks its client.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <new>
#include <string>
#include <tl/expected.hpp>
#include <utility>

#include "host/notation/kel_parser.h"
#include "tavhost/base/event_loop.h"
#include "tavhost/base/plugin_call.h"
#include "tavhost/base/report.h"
#include "tavhost/base/stop.h"
#include "tavhost/base/string_of.h"
#include "tavhost/notation/parser_access.h"
#include "tavhost/service/json.h"
#include "tavhost/service/queue.h"
#include "tavhost/service/token.h"

namespace script::service {

namespace {

using Clock = std::chrono::steady_clock;

// How many questions are remembered, so that an answer that comes too late learns why.
constexpr std::size_t kClosedQuestions = 100;
// How long a client whose connection is gone has to come back with its answer: many programs take a
// new connection for each request.
constexpr auto kTimeToComeBack = std::chrono::seconds(2);

// Whether a request is the command that stops the service and nothing else.
bool IsServiceStop(const Job& job) {
  constexpr std::size_t kLongest = 200;
  if (job.order.kind != Order::Kind::kCommand || job.text.size() > kLongest) return false;
  TavKelParser parser(base::StringOf(job.text));
  return kel::ParserAccess::Parse(parser) && kel::ParserAccess::Count(parser) == 1 &&
         parser.GetCurElemName() == "SERVICE" && parser.IsContained("stop") &&
         !parser.IsContained("start");
}

Reply Refused(unsigned status, const std::string& reason) { return {status, ErrorJson(reason)}; }

}  // namespace

std::optional<Reply> Queue::Answer(const std::shared_ptr<Job>& job) {
  const std::lock_guard lock(mutex_);
  if (job->order.question == openQuestion_ && !openQuestion_.empty()) {
    if (answer_) {
      return Refused(409, "another answer to the question is being looked at");
    }
    answer_ = job;
    event_loop::WakeUp();
    return std::nullopt;
  }
  const auto closed = std::find_if(
      closedQuestions_.begin(), closedQuestions_.end(),
      [&job](const ClosedQuestion& question) { return question.id == job->order.question; });
  if (closed != closedQuestions_.end()) return closed->refusal;
  return Refused(404, "there is no such question");
}

// Waits in the event loop, as a dialog does, until an answer fits or none can come any more. The
// lock is never held while the window or the event loop is at work.
void Queue::Ask(Question& question) {
  const std::string id = NewToken();
  const std::size_t limit = GetHostOptions().replyLimit;
  const std::optional<std::string> window = question.Json(id, limit);
  std::optional<std::string> json;
  if (window) json = QuestionJson(output_, *window, limit);
  if (!json) {
    isTooLong_ = true;
    notAnswered_ = TooLongText();
    stop::Request(stop::Reason::kNoAnswer);
    throw stop::Stopped();
  }
  Reply reply{200, std::move(*json), running_->id, id};
  const auto begin = Clock::now();
  std::shared_ptr<Job> asked;
  {
    const std::lock_guard lock(mutex_);
    stop::ThrowIfRequested();  // who still waits is told why, in place of the question
    openQuestion_ = id;
    questionEnd_ = begin + running_->order.questionTime;
    questionLeft_ = false;
    if (!closed_) asked.swap(waiter_);  // a service that ends takes no more answers
  }
  Send(asked, std::move(reply));
  try {
    if (AwaitAnswer(question, begin)) return;
  } catch (const std::bad_alloc&) {
    // Who has answered gets what becomes of the script.
    std::shared_ptr<Job> second;
    {
      const std::lock_guard lock(mutex_);
      openQuestion_.clear();
      if (!waiter_) waiter_.swap(answer_);
      second.swap(answer_);
    }
    SendError(second, kErrorNoMemory);
    throw;
  }
  if (!stop::IsRequested()) {
    if (!GetHostOptions().quiet) report::Line("script service: " + notAnswered_);
    stop::Request(stop::Reason::kNoAnswer);
  }
  throw stop::Stopped();
}

bool Queue::AwaitAnswer(Question& question, Clock::time_point begin) {
  while (true) {
    RunServiceStop();
    std::shared_ptr<Job> answer;
    Clock::time_point nearest;
    {
      const std::lock_guard lock(mutex_);
      answer.swap(answer_);
      nearest = questionEnd_;
      if (!answer) {
        notAnswered_ = WhyUnanswerable();
        if (!notAnswered_.empty()) {
          CloseQuestion(Refused(410, notAnswered_));
          return false;
        }
      }
    }
    if (answer) {
      try {
        if (Accept(question, begin, answer)) return true;
      } catch (const std::bad_alloc&) {
        const std::lock_guard lock(mutex_);
        waiter_ = answer;
        throw;
      }
      continue;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(nearest - Clock::now());
    event_loop::WaitForEvents(static_cast<std::uint32_t>(std::max<std::int64_t>(left.count(), 0)));
    event_loop::ProcessEvents();
  }
}

void Queue::LeaveQuestion(const std::string& id) {
  {
    const std::lock_guard lock(mutex_);
    if (openQuestion_ != id || answer_) return;
    const auto nearer = Clock::now() + kTimeToComeBack;
    if (nearer >= questionEnd_) return;
    questionLeft_ = true;
    questionEnd_ = nearer;
  }
  event_loop::WakeUp();
}

void Queue::RunServiceStop() {
  std::shared_ptr<Job> job;
  {
    const std::lock_guard lock(mutex_);
    const auto found = std::find_if(waiting_.begin(), waiting_.end(),
                                    [](const auto& waits) { return IsServiceStop(*waits); });
    if (found == waiting_.end()) return;
    job = std::move(*found);
    waiting_.erase(found);
  }
  stop::Reason reason = stop::Requested();
  if (reason != stop::Reason::kNone) return SendError(job, kErrorServiceEnds);
  Reply reply;
  try {
    reply.json = RunCommand(*job, reason);
  } catch (const std::bad_alloc&) {
    SendError(job, kErrorNoMemory);
    throw;
  }
  if (reason != stop::Reason::kNone) stop::Request(reason);  // it is for the whole program
  Send(job, std::move(reply));
}

bool Queue::Accept(Question& question, Clock::time_point begin,
                   const std::shared_ptr<Job>& answer) {
  if (answer->abandoned) {
    SendError(answer, kErrorClientLeft);
    return false;
  }
  if (const base::Result<void> fit = question.Take(answer->text); !fit) {
    Reply refusal = Refused(400, fit.error().message);
    {
      const std::lock_guard lock(mutex_);
      refusal.question = openQuestion_;
      // Where the client that asked has left, whoever tries is the client now.
      refusal.takesOver = std::exchange(questionLeft_, false);
      questionEnd_ = begin + running_->order.questionTime;
    }
    Send(answer, std::move(refusal));
    return false;
  }
  Reply late = Refused(409, "the question has been answered");
  std::shared_ptr<Job> second;
  {
    const std::lock_guard lock(mutex_);
    CloseQuestion(late);
    second.swap(answer_);
    waiter_ = answer;
    if (answer->abandoned) CutShort(Cut::kClientLeft);
  }
  Send(second, std::move(late));
  return true;
}

std::string Queue::WhyUnanswerable() const {
  if (closed_) return "the service ended before the window was answered";
  if (cut_ == Cut::kCancelled) return "the request was cancelled before the window was answered";
  const std::uint32_t line = plugin_call::CurrentPlace().line;
  if (stop::IsRequested()) return WhyStopped(stop::Requested(), line);
  if (Clock::now() < questionEnd_) return "";
  if (questionLeft_) return "the client left before the window was answered";
  return "the window was not answered within " +
         std::to_string(running_->order.questionTime.count()) + " seconds; the script was stopped" +
         (line > 0 ? " at line " + std::to_string(line) : "");
}

void Queue::CloseQuestion(Reply refusal) {
  closedQuestions_.push_back({std::exchange(openQuestion_, {}), std::move(refusal)});
  if (closedQuestions_.size() > kClosedQuestions) closedQuestions_.pop_front();
}

}  // namespace script::service
