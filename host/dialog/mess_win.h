#pragma once

#include <cstdint>

#include "host/sv/window.h"

namespace ui {
class MessageWindowModel;
}

// A window with a text that stays on screen while the script goes on.
class TAV_HOST_API TavMessWin : public SV::Window {
 public:
  // `flags` are 0; `centred` puts the window into the middle of its parent.
  TavMessWin(SV::Window* parent, const SV::String& text, std::uint32_t flags, bool centred);
  ~TavMessWin() override;

  void SetText(const SV::String& text) override;  // the text shown, not a title
  SV::String GetText() const override;
};
