#pragma once

#include "host/sv/multi_line_edit.h"

// The text control of a text box: its font is the box's, and so shows in the box's model.
class TextControl final : public SV::MultiLineEdit {
 public:
  explicit TextControl(SV::Window& box);

  SV::Font ChangeFont(const SV::Font& font) override;

 private:
  SV::Window& box_;
};
