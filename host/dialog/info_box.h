#pragma once

#include "host/sv/info_box.h"

// An SV::InfoBox above which other dialogs open for as long as it lives.
class TAV_HOST_API TavInfoBox : public SV::InfoBox {
 public:
  TavInfoBox(SV::Window* parent, const SV::String& text);
  ~TavInfoBox() override;
  // Shows the box with the normal cursor and puts the wait cursor back.
  short Execute() override;
};
