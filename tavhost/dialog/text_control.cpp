#include "tavhost/dialog/text_control.h"

#include "tavhost/base/trace.h"
#include "tavhost/ui/models/window_model.h"

namespace {
constexpr SV::WinBits kTextControlStyle = 8577;  // scrolls both ways, keeps its selection shown
}

TextControl::TextControl(SV::Window& box) : MultiLineEdit(&box, kTextControlStyle), box_(box) {
  trace::Name("SV::MultiLineEdit", this);
}

SV::Font TextControl::ChangeFont(const SV::Font& font) {
  SV::Font before = MultiLineEdit::ChangeFont(font);
  box_.Model().font = Model().font;
  return before;
}
