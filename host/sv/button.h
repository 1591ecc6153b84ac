#pragma once

#include "host/sv/window.h"

namespace SV {

// A push button; its text is its label.
class TAV_HOST_API Button : public Window {
 public:
  explicit Button(Window* parent);
  ~Button() override;
};

}  // namespace SV
