#pragma once

#include <QLabel>

#include "tavhost/ui/models/message_window_model.h"

namespace ui {

// The text in a small window above the main one. It has no close box: it goes when the script says.
class MessageWindowView final : public QWidget {
 public:
  MessageWindowView(const MessageWindowModel& model, QWidget* parent);

  void ShowModel();

 private:
  const MessageWindowModel& model_;
  QLabel* label_;
};

}  // namespace ui
