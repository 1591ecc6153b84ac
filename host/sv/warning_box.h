#pragma once

#include "host/sv/mess_box.h"

namespace SV {

// A box that warns.
class TAV_HOST_API WarningBox : public MessBox {
 public:
  WarningBox(Window* parent, std::uint32_t style, const String& text);
  ~WarningBox() override;

 protected:
  enum Base { kBase };  // made as the base of a wrapper, which writes the trace itself
  WarningBox(Base, Window* parent, std::uint32_t style, const String& text);
};

}  // namespace SV
