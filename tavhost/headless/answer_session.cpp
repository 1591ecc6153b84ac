#include "tavhost/headless/answer_session.h"

#include <algorithm>
#include <tl/expected.hpp>
#include <utility>

#include "tavhost/base/file_text.h"
#include "tavhost/base/plugin_call.h"
#include "tavhost/base/report.h"
#include "tavhost/base/stop.h"
#include "tavhost/headless/answer_fitting.h"
#include "tavhost/headless/terminal_prompt.h"
#include "tavhost/ui/models/modal_model.h"
#include "tavhost/ui/models/percentage_window_model.h"

namespace ui {

namespace {

std::string AtLine(const std::string& file, std::uint32_t line) {
  return file + ':' + std::to_string(line);
}

}  // namespace

AnswerOptions ReadAnswerOption(const std::string* value, bool hasDisplay, bool stdinIsTerminal) {
  AnswerOptions options;
  using Mode = AnswerOptions::Mode;
  if (!value) {
    options.mode = hasDisplay ? Mode::kUser : stdinIsTerminal ? Mode::kAsk : Mode::kNone;
  } else if (*value == "accept") {
    options.mode = Mode::kAccept;
  } else if (*value == "cancel") {
    options.mode = Mode::kCancel;
  } else if (*value == "ask") {
    options.mode = Mode::kAsk;
  } else {
    options.mode = Mode::kFile;
    options.file = *value;
  }
  return options;
}

base::Result<std::shared_ptr<AnswerSession>> AnswerSession::Create(const AnswerOptions& options) {
  std::shared_ptr<AnswerSession> session(new AnswerSession(options));
  if (options.mode == AnswerOptions::Mode::kFile) {
    const base::Result<std::string> text = base::ReadFileText(options.file);
    if (!text) {
      return base::Failure("the answers cannot be read: " + text.error().message, options.file);
    }
    base::Result<std::vector<ui::Answer>> answers = ParseAnswers(options.file, *text);
    if (!answers) return tl::unexpected<base::Error>(answers.error());
    session->answers_ = std::move(*answers);
    session->endLine_ += static_cast<std::uint32_t>(std::count(text->begin(), text->end(), '\n'));
    if (!text->empty() && text->back() != '\n') ++session->endLine_;
  }
  if (!options.recordPath.empty()) {
    const base::Result<void> recorded = session->RecordTo(options.recordPath);
    if (!recorded) return tl::unexpected<base::Error>(recorded.error());
  }
  return session;
}

base::Result<void> AnswerSession::RecordTo(const std::string& path) {
  base::Result<std::unique_ptr<RecordFile>> record = RecordFile::Open(path);
  if (!record) {
    return base::Failure("the record cannot be written: " + record.error().message, path);
  }
  record_ = std::move(*record);
  return {};
}

AnswerSession::~AnswerSession() = default;

base::Result<void> AnswerSession::KeepRecord() {
  if (!record_) return {};
  if (progress_) ProgressClosed(*progress_);
  return std::exchange(record_, nullptr)->Keep();
}

void AnswerSession::GoOnWithoutDisplay(bool stdinIsTerminal) {
  if (options_.mode != AnswerOptions::Mode::kUser) return;
  options_.mode = ReadAnswerOption(nullptr, false, stdinIsTerminal).mode;
}

bool AnswerSession::AnswersWindows() const { return options_.mode != AnswerOptions::Mode::kUser; }

void AnswerSession::Answer(ModalModel& window) {
  using Mode = AnswerOptions::Mode;
  switch (options_.mode) {
    case Mode::kFile:
      return AnswerFromFile(window);
    case Mode::kAccept:
      return AnswerWithoutParameters(window);
    case Mode::kCancel:
      window.End(kCancelButton);
      return;
    case Mode::kAsk:
      // When a stop was asked for, the window stays open: whoever runs it sees the request.
      if (AskInTerminal(window) == AskOutcome::kNoInput) {
        Fail("tavhost", "standard input ended before the window was answered", window);
      }
      return;
    case Mode::kNone:
    case Mode::kUser:
      Fail("tavhost", "there is no display and no --answers for the window", window);
  }
}

void AnswerSession::AnswerFromFile(ModalModel& window) {
  if (next_ == answers_.size()) {
    Fail(AtLine(options_.file, endLine_), "no answer is left for the window", window);
  }
  const ui::Answer& answer = answers_[next_];
  if (const base::Result<void> fit = ApplyAnswer(answer, window); !fit) {
    Fail(AtLine(options_.file, answer.line), fit.error().message, window);
  }
  ++next_;
}

void AnswerSession::AnswerWithoutParameters(ModalModel& window) {
  ui::Answer plain;
  plain.element = ElementOf(window);
  if (const base::Result<void> fit = ApplyAnswer(plain, window); !fit) {
    Fail("tavhost", fit.error().message, window);
  }
}

void AnswerSession::Fail(const std::string& place, const std::string& reason,
                         const ModalModel& window) {
  Fail(place, reason, AnswerOf(window));
}

void AnswerSession::Fail(const std::string& place, const std::string& reason,
                         const ui::Answer& fitting) {
  const std::string answer = AnswerLine(fitting);
  const std::string opened = plugin_call::PlaceText();
  std::string message = place + ": error: " + reason + "; this line answers it:\n" + answer;
  if (!opened.empty()) message += '\n' + opened + ": note: the window is opened here";
  report::Line(message);
  stop::Request(stop::Reason::kNoAnswer);
  throw Unanswered((opened.empty() ? opened : opened + ": ") + reason +
                   "; this line answers it: " + answer);
}

void AnswerSession::Record(const ModalModel& window) {
  if (!record_) return;
  std::string line = AnswerLine(AnswerOf(window));
  line += '\n';
  WriteRecord(line);
}

void AnswerSession::WriteRecord(const std::string& lines) {
  if (progress_) {
    waiting_ += lines;
    return;
  }
  record_->Write(lines);
}

void AnswerSession::ProgressShown(PercentageWindowModel& window) {
  if (!window.HasCancelButton()) return;
  if (next_ < answers_.size() && answers_[next_].element == kCancelProgress) {
    const ui::Answer& answer = answers_[next_];
    if (const base::Result<void> fit = CheckAnswer(answer); !fit) {
      ui::Answer first = answer;
      first.after = 1;
      Fail(AtLine(options_.file, answer.line), fit.error().message, first);
    }
    window.CancelFrom(answer.after.value_or(0));
    ++next_;
  }
  if (record_) progress_ = &window;
}

void AnswerSession::ProgressClosed(const PercentageWindowModel& window) {
  if (progress_ != &window) return;
  progress_ = nullptr;
  std::string lines;
  if (window.CancelledAt() > 0) {
    ui::Answer answer;
    answer.element = kCancelProgress;
    answer.after = static_cast<std::int32_t>(window.CancelledAt());
    lines = AnswerLine(answer) + '\n';
  }
  WriteRecord(lines + std::exchange(waiting_, {}));
}

base::Result<void> AnswerSession::Finish() const {
  if (next_ == answers_.size()) return {};
  const ui::Answer& first = answers_[next_];
  const std::size_t count = answers_.size() - next_;
  const std::string which =
      count == 1 ? "this answer is left over"
                 : std::to_string(count) + " answers are left over, the first of them";
  return base::Failure(which + ":\n" + AnswerLine(first), options_.file, first.line);
}

}  // namespace ui
