#pragma once

#include "host/sv/warning_box.h"

// SV::WarningBox that is the parent of other dialogs for as long as it lives.
class TAV_HOST_API TavWarningBox : public SV::WarningBox {
 public:
  TavWarningBox(SV::Window* parent, std::uint32_t style, const SV::String& text);
  ~TavWarningBox() override;
};
