#pragma once

#include <cstdint>

#include "host/sv/modal_dialog.h"

namespace SV {

// The style word of a message box: one set of buttons and one default button. A default that is
// not in the set counts as the set's first button; without a default it is the first, too.
inline constexpr std::uint32_t kMessBoxOk = 0x10;
inline constexpr std::uint32_t kMessBoxOkCancel = 0x20;
inline constexpr std::uint32_t kMessBoxYesNo = 0x40;
inline constexpr std::uint32_t kMessBoxYesNoCancel = 0x80;
inline constexpr std::uint32_t kMessBoxRetryCancel = 0x100;
inline constexpr std::uint32_t kMessBoxDefaultOk = 0x200;
inline constexpr std::uint32_t kMessBoxDefaultCancel = 0x400;
inline constexpr std::uint32_t kMessBoxDefaultRetry = 0x800;
inline constexpr std::uint32_t kMessBoxDefaultYes = 0x1000;
inline constexpr std::uint32_t kMessBoxDefaultNo = 0x2000;

// A box with a text and a row of buttons.
class TAV_HOST_API MessBox : public ModalDialog {
 public:
  // Shows the box until it is answered: 1 ok, 2 yes, 3 no, 4 retry, anything else cancel.
  virtual short Execute();

 protected:
  enum class Kind { kInfo, kQuery, kError, kWarning };
  MessBox(Window* parent, Kind kind, std::uint32_t style, const String& text);
};

}  // namespace SV
