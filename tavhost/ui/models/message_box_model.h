#pragma once

#include <cstdint>

#include "host/export.h"
#include "tavhost/ui/models/modal_model.h"

namespace ui {

enum class MessageKind { kInfo, kQuery, kError, kWarning };

// A text and a row of buttons, chosen by a style word (host/sv/mess_box.h).
class TAV_HOST_API MessageBoxModel final : public ModalModel {
 public:
  MessageBoxModel(MessageKind kind, std::uint32_t style, std::string text);

  MessageKind Message() const { return message_; }
  const std::string& Text() const { return text_; }
  std::vector<ModalButton> Buttons() const override;
  std::string DefaultButton() const override;

 private:
  MessageKind message_;
  std::uint32_t style_;
  std::string text_;
};

}  // namespace ui
