#include "tavhost/headless/answer_session.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "tavhost/base/report.h"
#include "tavhost/base/stop.h"
#include "tavhost/headless/answer_fitting.h"
#include "tavhost/headless/terminal_prompt.h"
#include "tavhost/ui/models/modal_model.h"
#include "tavhost/ui/models/percentage_window_model.h"

namespace ui {

namespace {

bool ReadWholeFile(const std::string& path, std::string& text) {
  std::FILE* const file = std::fopen(path.c_str(), "rb");
  if (!file) return false;
  char bytes[65536];
  for (std::size_t count; (count = std::fread(bytes, 1, sizeof bytes, file)) > 0;) {
    text.append(bytes, count);
  }
  const bool whole = std::ferror(file) == 0;
  std::fclose(file);
  return whole;
}

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

std::shared_ptr<AnswerSession> AnswerSession::Create(const AnswerOptions& options,
                                                     std::string& error) {
  std::shared_ptr<AnswerSession> session(new AnswerSession(options));
  if (options.mode == AnswerOptions::Mode::kFile) {
    std::string text;
    if (!ReadWholeFile(options.file, text)) {
      error = options.file + ": error: the answers cannot be read: " + std::strerror(errno);
      return nullptr;
    }
    if (!ParseAnswers(options.file, text, session->answers_, error)) return nullptr;
    session->endLine_ += static_cast<std::uint32_t>(std::count(text.begin(), text.end(), '\n'));
    if (!text.empty() && text.back() != '\n') ++session->endLine_;
  }
  if (!options.recordPath.empty()) {
    session->record_ = std::fopen(options.recordPath.c_str(), "wb");
    if (!session->record_) {
      error = options.recordPath + ": error: the record cannot be written: " + std::strerror(errno);
      return nullptr;
    }
  }
  return session;
}

AnswerSession::~AnswerSession() {
  if (!record_) return;
  if (progress_) ProgressClosed(*progress_);
  std::fclose(record_);
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
  if (const std::optional<std::string> misfit = ApplyAnswer(answer, window)) {
    Fail(AtLine(options_.file, answer.line), *misfit, window);
  }
  ++next_;
}

void AnswerSession::AnswerWithoutParameters(ModalModel& window) {
  ui::Answer plain;
  plain.element = ElementOf(window);
  ApplyAnswer(plain, window);
}

void AnswerSession::Fail(const std::string& place, const std::string& reason,
                         const ModalModel& window) {
  report::Line(place + ": error: " + reason + "; this line answers it:\n" +
               AnswerLine(AnswerOf(window)));
  stop::Request(stop::Reason::kNoAnswer);
  throw stop::Stopped();
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
  std::fwrite(lines.data(), 1, lines.size(), record_);
  std::fflush(record_);
}

void AnswerSession::ProgressShown(PercentageWindowModel& window) {
  if (!window.HasCancelButton()) return;
  if (next_ < answers_.size() && answers_[next_].element == kCancelProgress) {
    window.CancelFrom(answers_[next_++].after.value_or(0));
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

bool AnswerSession::Finish(std::string& error) const {
  if (next_ == answers_.size()) return true;
  const ui::Answer& first = answers_[next_];
  const std::size_t count = answers_.size() - next_;
  error = AtLine(options_.file, first.line) + ": error: " +
          (count == 1 ? std::string("this answer is left over")
                      : std::to_string(count) + " answers are left over, the first of them") +
          ":\n" + AnswerLine(first);
  return false;
}

}  // namespace ui
