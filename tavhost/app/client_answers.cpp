#include "tavhost/app/client_answers.h"

#include <cstddef>
#include <optional>
#include <string>
#include <tl/expected.hpp>
#include <vector>

#include "tavhost/base/plugin_call.h"
#include "tavhost/headless/answer_fitting.h"
#include "tavhost/headless/answer_session.h"
#include "tavhost/headless/window_json.h"
#include "tavhost/service/script_service.h"
#include "tavhost/ui/answer.h"

namespace app {

namespace {

constexpr char kAnswerName[] = "answer";  // in messages, where that of an answers file would stand

class WindowQuestion final : public script::service::Question {
 public:
  explicit WindowQuestion(ui::ModalModel& window) : window_(window) {}

  std::optional<std::string> Json(const std::string& id, std::size_t limit) const override {
    return ui::WindowJson(window_, id, limit);
  }

  // The message begins with the place in the script.
  base::Result<void> Take(const std::string& text) override {
    base::Result<void> fit = Apply(text);
    if (fit) return fit;
    const std::string place = plugin_call::PlaceText();
    return base::Failure((place.empty() ? place : place + ": ") + fit.error().message);
  }

 private:
  base::Result<void> Apply(const std::string& text) {
    const base::Result<std::vector<ui::Answer>> answers = ui::ParseAnswers(kAnswerName, text);
    if (!answers) {
      std::string mistake = answers.error().Text();
      while (mistake.ends_with('\n')) mistake.pop_back();
      return base::Failure(std::move(mistake));
    }
    if (answers->size() != 1) return base::Failure("one element answers a window");
    return ui::ApplyAnswer(answers->front(), window_);
  }

  ui::ModalModel& window_;
};

}  // namespace

bool ClientAnswers::AnswersWindows() const {
  return script::service::AsksClient() || others_->AnswersWindows();
}

void ClientAnswers::Answer(ui::ModalModel& window) {
  if (!script::service::AsksClient()) {
    try {
      return others_->Answer(window);
    } catch (const ui::Unanswered& missing) {
      script::service::TellUnanswered(missing.what());
      throw;
    }
  }
  WindowQuestion question(window);
  script::service::AskClient(question);
}

}  // namespace app
