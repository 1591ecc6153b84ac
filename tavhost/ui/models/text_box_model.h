#pragma once

#include "tavhost/ui/models/modal_model.h"

namespace ui {

// A long text, to be read or to be changed. `font` is that of the text.
class TextBoxModel final : public ModalModel {
 public:
  TextBoxModel(bool editable, bool fileEditor)
      : ModalModel(ModalKind::kTextBox, editable ? "Edit" : "View"),
        editable_(editable),
        fileEditor_(fileEditor) {}

  bool IsEditable() const { return editable_; }
  // For the text of a file: a status bar shows line and column, tabs stay tabs.
  bool IsFileEditor() const { return fileEditor_; }

  std::vector<ModalButton> Buttons() const override {
    if (!editable_) return {{"ok", okText, 1}};
    return OkAndCancel(okText);
  }

  std::string text;
  std::string okText = "OK";

 private:
  bool editable_;
  bool fileEditor_;
};

}  // namespace ui
