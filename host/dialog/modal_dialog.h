#pragma once

#include "host/sv/modal_dialog.h"

// A dialog of the host. While it runs, other dialogs open above it.
class TAV_HOST_API TavModalDialog : public SV::ModalDialog {
 public:
  // Shows the dialog until it is answered: 1 by its OK button, 0 cancelled.
  virtual long Execute();

 protected:
  TavModalDialog(SV::Window* parent, std::unique_ptr<ui::WindowModel> model);
};
