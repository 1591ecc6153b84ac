#pragma once

#include <QWidget>

#include "tavhost/qt/text_block.h"
#include "tavhost/ui/models/message_window_model.h"

namespace ui {

// The text in a small window above the main one. Its user may close it; it comes back with the next
// text, and goes when the script says.
class MessageWindowView final : public QWidget {
 public:
  // The model outlives the view.
  MessageWindowView(const MessageWindowModel& model, QWidget* parent);

  // Shows the window in the middle of its parent, and leaves the keyboard where it is.
  void Open();
  void ShowModel();

 private:
  const MessageWindowModel& model_;
  TextBlock* text_;
};

}  // namespace ui
