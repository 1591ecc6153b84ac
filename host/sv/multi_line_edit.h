#pragma once

#include <cstdint>

#include "host/sv/edit.h"

namespace SV {

typedef std::uint32_t WinBits;
class TextHistory;

// A field for text of many lines. To get its text, put something behind it or cut lines off its
// start, and set it again costs in proportion to what changed.
class TAV_HOST_API MultiLineEdit : public Edit {
 public:
  MultiLineEdit(Window* parent, WinBits style);
  ~MultiLineEdit() override;

  void SetText(const String& text) override;
  String GetText() const override;
  void ChangeSelection(const Selection& selection) override;
  void ShowSelection() override;

 private:
  std::unique_ptr<TextHistory> history_;
};

}  // namespace SV
