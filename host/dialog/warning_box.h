#pragma once

#include "host/sv/warning_box.h"

// An SV::WarningBox above which other dialogs open for as long as it lives.
class TAV_HOST_API TavWarningBox : public SV::WarningBox {
 public:
  TavWarningBox(SV::Window* parent, std::uint32_t style, const SV::String& text);
  ~TavWarningBox() override;
};
