#pragma once

#include "tavhost/qt/modal_view.h"
#include "tavhost/ui/models/message_box_model.h"

namespace ui {

// A text with an icon; a long one scrolls, and Ctrl+C copies it.
class MessageBoxView final : public ModalView {
 public:
  MessageBoxView(MessageBoxModel& model, QWidget* parent);

  void ShowModel() override {}

 private:
  void ReadModel() override {}

  int TitleWidth();
};

}  // namespace ui
