#pragma once

#include "host/sv/window.h"

// Shows the images to choose from, and the chosen one larger.
class TAV_HOST_API TavImagePreviewControl : public SV::Window {
 public:
  SV::String GetSelected();  // its name in the database file area; empty when none is chosen

 private:
  friend class TavImagePreviewDialog;
  explicit TavImagePreviewControl(SV::Window* parent);
};
