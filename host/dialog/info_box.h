#pragma once

#include "host/sv/info_box.h"

// SV::InfoBox that is the parent of other dialogs for as long as it lives.
class TAV_HOST_API TavInfoBox : public SV::InfoBox {
 public:
  TavInfoBox(SV::Window* parent, const SV::String& text);
  ~TavInfoBox() override;
  // Shows the box with the normal cursor and puts the wait cursor back.
  short Execute() override;
};
