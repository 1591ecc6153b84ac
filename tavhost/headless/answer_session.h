#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tavhost/base/result.h"
#include "tavhost/base/stop.h"
#include "tavhost/headless/record_file.h"
#include "tavhost/ui/answer.h"
#include "tavhost/ui/answer_source.h"

namespace ui {

struct AnswerOptions {
  enum class Mode {
    kNone,    // no answers: without a display every window is an error
    kFile,    // from `file`, one element a window, in order
    kAccept,  // every window as its element without parameters
    kCancel,  // every window cancelled
    kAsk,     // in the terminal: standard error shows, standard input answers
    kUser,    // none here: a display shows the windows to a user
  };

  Mode mode = Mode::kNone;
  std::string file;
  std::string recordPath;  // empty: nothing is recorded
};

// Mode and file from the value of --answers, null without one. Without it, windows without a
// display are asked in the terminal when standard input is one.
AnswerOptions ReadAnswerOption(const std::string* value, bool hasDisplay, bool stdinIsTerminal);

// Leaves a window that has no answer, in words for whoever is to be told what is missing.
class Unanswered final : public stop::Stopped {
 public:
  explicit Unanswered(std::string reason) : reason_(std::move(reason)) {}
  const char* what() const noexcept override { return reason_.c_str(); }

 private:
  const std::string reason_;
};

// The answers that the windows of one run of the program get, and the record of those they were
// given. A window without an answer ends the script: what is missing is told on standard error,
// with the place in the answers and that in the script, and Unanswered thrown.
class AnswerSession final : public AnswerSource {
 public:
  // Fails when the answers cannot be read or the record cannot be written.
  static base::Result<std::shared_ptr<AnswerSession>> Create(const AnswerOptions& options);

  AnswerSession(const AnswerSession&) = delete;
  AnswerSession& operator=(const AnswerSession&) = delete;
  ~AnswerSession() override;

  bool AnswersWindows() const override;
  bool IsRecording() const override { return record_ != nullptr; }
  void Answer(ModalModel& window) override;
  void Record(const ModalModel& window) override;

  void ProgressShown(PercentageWindowModel& window) override;
  void ProgressClosed(const PercentageWindowModel& window) override;

  // The display that would have shown windows to a user cannot be reached: they are asked in the
  // terminal where standard input is one, as without a display.
  void GoOnWithoutDisplay(bool stdinIsTerminal);

  // What is answered from now on is recorded there, instead of at the path of the options.
  base::Result<void> RecordTo(const std::string& path);

  // Puts the record in its place, when all windows have been answered; without this it is dropped.
  // Fails, with the system's word for why not, when it could not be stored: what stood there before
  // is still there.
  base::Result<void> KeepRecord();

  // At the end of a script that came to its end: fails when answers are left over, at the place of
  // the first of them.
  base::Result<void> Finish() const;

 private:
  explicit AnswerSession(const AnswerOptions& options) : options_(options) {}

  void AnswerFromFile(ModalModel& window);
  void AnswerWithoutParameters(ModalModel& window);
  void WriteRecord(const std::string& lines);
  [[noreturn]] void Fail(const std::string& place, const std::string& reason,
                         const ModalModel& window);
  [[noreturn]] void Fail(const std::string& place, const std::string& reason,
                         const ui::Answer& fitting);

  AnswerOptions options_;
  std::vector<ui::Answer> answers_;
  std::size_t next_ = 0;
  std::uint32_t endLine_ = 1;  // of the file: where the next answer is to be added
  std::unique_ptr<RecordFile> record_;
  // While a percentage window with a cancel button shows, all that is recorded waits here: only
  // when it closes is it known whether it was cancelled, and that line has to stand first.
  const PercentageWindowModel* progress_ = nullptr;
  std::string waiting_;
};

}  // namespace ui
