#pragma once

#include "host/sv/sys_win.h"

namespace SV {

// A window with controls.
class TAV_HOST_API Dialog : public SysWin {
 protected:
  Dialog(Window* parent, std::unique_ptr<ui::WindowModel> model);
};

}  // namespace SV
