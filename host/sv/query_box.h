#pragma once

#include "host/sv/mess_box.h"

namespace SV {

// A box that asks.
class TAV_HOST_API QueryBox : public MessBox {
 public:
  QueryBox(Window* parent, std::uint32_t style, const String& text);
  ~QueryBox() override;

 protected:
  enum Base { kBase };  // made as the base of a wrapper, which writes the trace itself
  QueryBox(Base, Window* parent, std::uint32_t style, const String& text);
};

}  // namespace SV
