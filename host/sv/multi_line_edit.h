#pragma once

#include <cstdint>

#include "host/sv/edit.h"

namespace SV {

typedef std::uint32_t WinBits;

// A field for text of many lines.
class TAV_HOST_API MultiLineEdit : public Edit {
 public:
  MultiLineEdit(Window* parent, WinBits style);
  ~MultiLineEdit() override;
};

}  // namespace SV
