#pragma once

#include <QWidget>

#include "tavhost/ui/models/message_box_model.h"

namespace ui {

// The sign of a message's kind, drawn for the screen on which it is.
class MessageIcon final : public QWidget {
 public:
  explicit MessageIcon(MessageKind kind, QWidget* parent = nullptr);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  MessageKind kind_;
};

}  // namespace ui
