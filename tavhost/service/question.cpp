// The part of the queue in which the script that runs asks its client.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>
#include <tl/expected.hpp>
#include <utility>

#include "tavhost/base/event_loop.h"
#include "tavhost/base/report.h"
#include "tavhost/service/json.h"
#include "tavhost/service/queue.h"
#include "tavhost/service/token.h"

namespace script::service {

namespace {

using Clock = std::chrono::steady_clock;

// How many questions are remembered, so that an answer that comes too late learns why.
constexpr std::size_t kClosedQuestions = 100;

Reply Refusal(unsigned status, const std::string& reason) { return {status, ErrorJson(reason)}; }

}  // namespace

std::optional<Reply> Queue::Answer(std::shared_ptr<Job> job) {
  const std::lock_guard lock(mutex_);
  if (job->question == openQuestion_ && !openQuestion_.empty()) {
    if (answer_) {
      return Refusal(409, "another answer to the question is being looked at");
    }
    answer_ = std::move(job);
    event_loop::WakeUp();
    return std::nullopt;
  }
  const auto closed =
      std::find_if(closedQuestions_.begin(), closedQuestions_.end(),
                   [&job](const ClosedQuestion& question) { return question.id == job->question; });
  if (closed != closedQuestions_.end()) return closed->refusal;
  return Refusal(404, "there is no such question");
}

// Waits in the event loop, as a dialog does, until an answer fits or none can come any more. The
// lock is never held while the window or the event loop is at work.
void Queue::Ask(Question& question) {
  const std::string id = NewToken();
  std::optional<std::string> json =
      QuestionJson(output_, question.Json(id), GetHostOptions().replyLimit);
  if (!json) {
    isTooLong_ = true;
    notAnswered_ = TooLongText();
    stop::Request(stop::Reason::kNoAnswer);
    throw stop::Stopped();
  }
  const auto end = Clock::now() + running_->questionTime;
  std::shared_ptr<Job> asked;
  {
    const std::lock_guard lock(mutex_);
    openQuestion_ = id;
    questionEnd_ = end;
    if (!closed_) asked.swap(waiter_);  // a service that ends takes no more answers
  }
  if (asked) Send(asked, {200, std::move(*json)});
  while (true) {
    std::shared_ptr<Job> answer;
    {
      const std::lock_guard lock(mutex_);
      answer.swap(answer_);
      if (!answer) {
        notAnswered_ = WhyUnanswerable();
        if (!notAnswered_.empty()) {
          CloseQuestion(Refusal(410, notAnswered_));
          break;
        }
      }
    }
    if (answer) {
      if (Accept(question, answer)) return;
      continue;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
    event_loop::WaitForEvents(static_cast<std::uint32_t>(std::max<std::int64_t>(left.count(), 0)));
    event_loop::ProcessEvents();
  }
  if (!stop::IsRequested()) {
    report::Line("script service: " + notAnswered_);
    stop::Request(stop::Reason::kNoAnswer);
  }
  throw stop::Stopped();
}

bool Queue::Accept(Question& question, const std::shared_ptr<Job>& answer) {
  if (answer->abandoned) {
    Send(answer, ClientLeft());
    return false;
  }
  if (const base::Result<void> fit = question.Take(answer->text); !fit) {
    Send(answer, Refusal(400, fit.error().message));
    return false;
  }
  std::shared_ptr<Job> second;
  {
    const std::lock_guard lock(mutex_);
    second.swap(answer_);
    CloseQuestion(Refusal(409, "the question has been answered"));
    waiter_ = answer;
    if (answer->abandoned) {
      clientLeft_ = true;
      stop::Request(stop::Reason::kUser);
    }
  }
  Send(second, Refusal(409, "the question has been answered"));
  return true;
}

std::string Queue::WhyUnanswerable() const {
  if (closed_) return "the service ended before the window was answered";
  if (stop::IsRequested()) return "the script was stopped before the window was answered";
  if (Clock::now() < questionEnd_) return "";
  return "the window was not answered within " + std::to_string(running_->questionTime.count()) +
         " seconds; the script was stopped";
}

void Queue::CloseQuestion(Reply refusal) {
  closedQuestions_.push_back({std::exchange(openQuestion_, {}), std::move(refusal)});
  if (closedQuestions_.size() > kClosedQuestions) closedQuestions_.pop_front();
}

}  // namespace script::service
