#pragma once

#include "host/browser/forward.h"
#include "host/dialog/modal_dialog.h"

// The small window in which a table is read. The table outlives it.
class TAV_HOST_API TavSmallBrowserWindow : public TavModalDialog {
 public:
  // A distance from the parent's edges, in characters, and whether the window starts hidden; the
  // user interface in use has its own mind about both.
  TavSmallBrowserWindow(SV::Window* parent, TavShrinkExpandBrowserObjects* objects, long, long,
                        bool);
  ~TavSmallBrowserWindow() override;

  void adjustRows();  // fits the heights of the rows to their texts
};
