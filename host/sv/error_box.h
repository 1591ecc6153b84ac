#pragma once

#include "host/sv/mess_box.h"

namespace SV {

// A box that reports an error.
class TAV_HOST_API ErrorBox : public MessBox {
 public:
  ErrorBox(Window* parent, std::uint32_t style, const String& text);
  ~ErrorBox() override;
};

}  // namespace SV
