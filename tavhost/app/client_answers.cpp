#include "tavhost/app/client_answers.h"

#include <optional>
#include <string>
#include <vector>

#include "tavhost/headless/answer_fitting.h"
#include "tavhost/headless/window_json.h"
#include "tavhost/service/script_service.h"
#include "tavhost/ui/answer.h"

namespace app {

namespace {

constexpr char kAnswerName[] = "answer";  // in messages, where that of an answers file would stand

class WindowQuestion final : public script::service::Question {
 public:
  explicit WindowQuestion(ui::ModalModel& window) : window_(window) {}

  std::string Json(const std::string& id) const override { return ui::WindowJson(window_, id); }

  std::optional<std::string> Take(const std::string& text) override {
    std::vector<ui::Answer> answers;
    std::string error;
    if (!ui::ParseAnswers(kAnswerName, text, answers, error)) {
      while (error.ends_with('\n')) error.pop_back();
      return error;
    }
    if (answers.size() != 1) return "one element answers a window";
    return ui::ApplyAnswer(answers.front(), window_);
  }

 private:
  ui::ModalModel& window_;
};

}  // namespace

bool ClientAnswers::AnswersWindows() const {
  return script::service::AsksClient() || others_->AnswersWindows();
}

void ClientAnswers::Answer(ui::ModalModel& window) {
  if (!script::service::AsksClient()) return others_->Answer(window);
  WindowQuestion question(window);
  script::service::AskClient(question);
}

}  // namespace app
