#pragma once

#include <string>
#include <string_view>

#include "tavhost/base/result.h"
#include "tavhost/ui/answer.h"
#include "tavhost/ui/models/modal_model.h"

namespace ui {

// What answers call a window of that kind.
std::string_view ElementOf(const ModalModel& window);

// Puts an answer into the window and ends it. When it fails because something does not fit, the
// window is as it was.
base::Result<void> ApplyAnswer(const Answer& answer, ModalModel& window);

// The button of an answer that names none.
std::string ImpliedButton(const ModalModel& window);

// The answer that does what has been done in a window that has ended; for one that has not, what
// confirming it as it stands would do.
Answer AnswerOf(const ModalModel& window);

}  // namespace ui
