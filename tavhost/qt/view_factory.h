#pragma once

#include <memory>

#include "tavhost/qt/modal_view.h"

namespace ui {

// The view of a modal model, chosen by its kind. Its dialog stands above `parent`, which may be
// null. The model must outlive the view.
// `isForUser`: nobody answers in the user's place and no pictures are taken. Then file dialogs
// begin where the user was last.
std::unique_ptr<ModalView> MakeModalView(ModalModel& model, QWidget* parent,
                                         bool isForUser = false);

}  // namespace ui
