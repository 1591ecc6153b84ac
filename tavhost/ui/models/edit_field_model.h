#pragma once

#include "tavhost/ui/models/modal_model.h"

namespace ui {

// One line of text under a caption.
class EditFieldModel final : public ModalModel {
 public:
  explicit EditFieldModel(std::string fieldCaption)
      : ModalModel(ModalKind::kEditField, "Input"), caption(std::move(fieldCaption)) {}

  std::vector<ModalButton> Buttons() const override { return OkAndCancel("OK"); }

  std::string caption;
  std::string text;
};

}  // namespace ui
