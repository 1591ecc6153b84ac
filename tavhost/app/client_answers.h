#pragma once

#include <memory>
#include <utility>

#include "tavhost/ui/answer_source.h"

namespace app {

// Answers as the program's options say, except in requests of the script service whose client
// answers its windows itself.
class ClientAnswers final : public ui::AnswerSource {
 public:
  explicit ClientAnswers(std::shared_ptr<ui::AnswerSource> others) : others_(std::move(others)) {}

  bool AnswersWindows() const override;
  bool IsRecording() const override { return others_->IsRecording(); }
  void Answer(ui::ModalModel& window) override;
  void Record(const ui::ModalModel& window) override { others_->Record(window); }
  void ProgressShown(ui::PercentageWindowModel& window) override { others_->ProgressShown(window); }
  void ProgressClosed(const ui::PercentageWindowModel& window) override {
    others_->ProgressClosed(window);
  }

 private:
  std::shared_ptr<ui::AnswerSource> others_;
};

}  // namespace app
