#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "tavhost/ui/answer.h"
#include "tavhost/ui/models/modal_model.h"

namespace ui {

// What answers call a window of that kind.
std::string_view ElementOf(const ModalModel& window);

// Puts an answer into the window and ends it. What does not fit is told in the result, and the
// window is then as it was.
std::optional<std::string> ApplyAnswer(const Answer& answer, ModalModel& window);

// The button of an answer that names none.
std::string ImpliedButton(const ModalModel& window);

// The answer that does what has been done in a window that has ended; for one that has not, what
// confirming it as it stands would do.
Answer AnswerOf(const ModalModel& window);

}  // namespace ui
