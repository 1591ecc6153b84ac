#pragma once

#include "host/browser/forward.h"
#include "host/dialog/modal_dialog.h"
#include "host/sv/button.h"

// The window in which a table is changed. The table outlives it and holds the changes, however the
// window was closed.
class TAV_HOST_API TavEditableSimpleBrowserWindow : public TavModalDialog {
 public:
  // A distance from the parent's edges, in characters, and whether the window can be sized and
  // minimised; the user interface in use has its own mind about all of them.
  TavEditableSimpleBrowserWindow(SV::Window* parent, TavEditableBrowserObjects* objects, long, long,
                                 bool, bool);
  ~TavEditableSimpleBrowserWindow() override;

  SV::Button& GetOKButton();
  // 0 inserts a row, 1 deletes rows, 2 sorts them.
  SV::Button& GetSpecialButton(int which);

  long Execute() override;

 private:
  std::unique_ptr<SV::Button> okButton_;
  std::unique_ptr<SV::Button> specialButtons_[3];
};
