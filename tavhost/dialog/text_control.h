#pragma once

#include "host/sv/multi_line_edit.h"

// The text control inside a view box or edit box. A box has one text and one font: setting the
// control's font sets that of the box's model, which the user interface reads.
class TextControl final : public SV::MultiLineEdit {
 public:
  explicit TextControl(SV::Window& box);

  SV::Font ChangeFont(const SV::Font& font) override;

 private:
  SV::Window& box_;
};
