#pragma once

#include "host/sv/window.h"

namespace SV {

// A window with a frame of its own.
class TAV_HOST_API SysWin : public Window {
 protected:
  SysWin(Window* parent, std::unique_ptr<ui::WindowModel> model);
};

}  // namespace SV
