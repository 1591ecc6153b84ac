#pragma once

#include "tavhost/ui/models/window_model.h"

namespace ui {

// A text that stays on screen while the script goes on.
class MessageWindowModel final : public WindowModel {
 public:
  explicit MessageWindowModel(std::string message)
      : WindowModel("Message"), text(std::move(message)) {}

  WindowContent Content() const override { return WindowContent::kMessage; }

  std::string text;
};

}  // namespace ui
