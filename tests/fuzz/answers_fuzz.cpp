// Any bytes as an answers file: they are refused with a place, or every answer is written as a line
// that reads back to the same line, and fits a window or does not without harm.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <tl/expected.hpp>
#include <vector>

#include "tavhost/headless/answer_fitting.h"
#include "tavhost/ui/answer.h"
#include "tavhost/ui/models/directory_dialog_model.h"
#include "tavhost/ui/models/file_dialog_model.h"
#include "tavhost/ui/models/image_dialog_model.h"
#include "tavhost/ui/models/list_box_model.h"
#include "tavhost/ui/models/message_box_model.h"
#include "tavhost/ui/models/modal_model.h"
#include "tavhost/ui/models/text_box_model.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

void CheckWrittenLine(const ui::Answer& answer) {
  const std::string line = ui::AnswerLine(answer);
  const base::Result<std::vector<ui::Answer>> again = ui::ParseAnswers("again", line);
  Require(again && again->size() == 1 && ui::AnswerLine(again->front()) == line);
}

void Fit(const ui::Answer& answer, ui::ModalModel& window) {
  window.Begin();
  const bool fits = ui::ApplyAnswer(answer, window).has_value();
  Require(fits == window.HasEnded());
  CheckWrittenLine(ui::AnswerOf(window));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const base::Result<std::vector<ui::Answer>> answers = ui::ParseAnswers("answers", text);
  if (!answers) {
    Require(answers.error().line > 0 && answers.error().Text().starts_with("answers:"));
    return 0;
  }
  ui::MessageBoxModel message(ui::MessageKind::kQuery, 0x80, "text");
  ui::TextBoxModel edit(true, false);
  ui::ListBoxModel list(true);
  for (const char* entry : {"a", "b", "", "a"}) list.Insert(entry);
  list.AddCheckBox("x", true);
  ui::FileDialogModel files(0x1020);
  ui::DirectoryDialogModel directory("start");
  ui::ImageDialogModel images;
  for (const ui::Answer& answer : *answers) {
    CheckWrittenLine(answer);
    Fit(answer, message);
    Fit(answer, edit);
    Fit(answer, list);
    Fit(answer, files);
    Fit(answer, directory);
    Fit(answer, images);
  }
  return 0;
}
