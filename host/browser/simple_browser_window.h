#pragma once

#include "host/browser/forward.h"
#include "host/dialog/modal_dialog.h"

// The large window in which a table is read. The table outlives it.
class TAV_HOST_API TavSimpleBrowserWindow : public TavModalDialog {
 public:
  // Two pairs of distances from the parent's edges, in characters, and whether the window can be
  // sized and minimised; the user interface in use has its own mind about all of them.
  TavSimpleBrowserWindow(SV::Window* parent, SV::String title,
                         TavShrinkExpandBrowserObjects* objects, long, long, long, long, bool,
                         bool);
  ~TavSimpleBrowserWindow() override;

  void adjustRows();  // fits the heights of the rows to their texts
};
