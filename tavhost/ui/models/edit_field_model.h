#pragma once

#include <string>
#include <string_view>

#include "host/export.h"
#include "tavhost/ui/models/modal_model.h"

namespace ui {

// One line of text under a caption. The script may put line breaks into it; nobody else can.
class EditFieldModel final : public ModalModel {
 public:
  explicit EditFieldModel(std::string fieldCaption)
      : ModalModel(ModalKind::kEditField, "Input"), caption(std::move(fieldCaption)) {}

  std::vector<ModalButton> Buttons() const override { return OkAndCancel("OK"); }

  std::string caption;
  std::string text;
};

// A text of UTF-8 as a field shows it: each character that breaks a line is a blank.
TAV_HOST_API std::string WithoutLineBreaks(std::string_view text);

}  // namespace ui
