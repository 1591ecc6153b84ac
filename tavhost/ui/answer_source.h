#pragma once

namespace ui {

class ModalModel;
class PercentageWindowModel;

// Answers windows in a user's place, and writes down how windows were answered. Every back end
// asks it: before a window waits for a user, and after one has ended.
class AnswerSource {
 public:
  virtual ~AnswerSource() = default;

  // Whether windows are answered here; otherwise a user does.
  virtual bool AnswersWindows() const = 0;
  // Whether what a user answers is written down, for others to answer alike.
  virtual bool IsRecording() const { return false; }
  // Puts the answer into the model and ends it. Throws stop::Stopped, the request made and the
  // reason told on standard error, when there is no answer or it does not fit.
  virtual void Answer(ModalModel& window) = 0;
  // Called for every window that has ended, however it was answered.
  virtual void Record(const ModalModel& window) = 0;
  // Called for a percentage window when it is shown, and before it goes: it may be cancelled in a
  // user's place, and that it was is recorded.
  virtual void ProgressShown(PercentageWindowModel&) {}
  virtual void ProgressClosed(const PercentageWindowModel&) {}
};

}  // namespace ui
