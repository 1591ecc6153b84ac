#pragma once

#include <cstdint>

#include "host/dialog/modal_dialog.h"

namespace ui {
class EditFieldModel;
}

// Asks for one line of text under a caption.
class TAV_HOST_API TavSimpleEditDialog : public TavModalDialog {
 public:
  // `style` is kept for hosts that know several looks; this one has one.
  TavSimpleEditDialog(SV::Window* parent, const SV::String& caption, std::uint32_t style);
  ~TavSimpleEditDialog() override;

  void setFieldValue(const SV::String& text);
  SV::String getFieldValue();

 private:
  ui::EditFieldModel& Field();
};
