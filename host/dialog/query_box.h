#pragma once

#include "host/sv/query_box.h"

// An SV::QueryBox above which other dialogs open for as long as it lives.
class TAV_HOST_API TavQueryBox : public SV::QueryBox {
 public:
  TavQueryBox(SV::Window* parent, std::uint32_t style, const SV::String& text);
  ~TavQueryBox() override;
};
