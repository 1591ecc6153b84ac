#pragma once

#include "host/sv/dialog.h"

namespace SV {

// A dialog that is answered before anything else goes on.
class TAV_HOST_API ModalDialog : public Dialog {
 protected:
  ModalDialog(Window* parent, std::unique_ptr<ui::WindowModel> model);
};

}  // namespace SV
