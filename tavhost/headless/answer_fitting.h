#pragma once

#include <string>
#include <string_view>

#include "tavhost/base/result.h"
#include "tavhost/ui/answer.h"
#include "tavhost/ui/models/modal_model.h"

namespace ui {

// The name by which an answers file calls a window of that kind, as MESSAGE_BOX.
std::string_view ElementOf(const ModalModel& window);

// Does to the window what the answer says, and ends it. Empty when it fits; else why not, and the
// window is as it was before.
base::Result<void> ApplyAnswer(const Answer& answer, ModalModel& window);

// The button that is pressed by an answer that names none.
std::string ImpliedButton(const ModalModel& window);

// For a window that has ended: the answer that would do the same again. For one that has not: the
// answer that confirms it as it stands, or cancels it where that cannot be.
Answer AnswerOf(const ModalModel& window);

}  // namespace ui
