#include "host/sv/edit.h"

#include <utility>

#include "host/sv/button.h"
#include "host/sv/multi_line_edit.h"
#include "tavhost/sv/trace.h"
#include "tavhost/ui/toolkit.h"

namespace SV {

Edit::Edit(Window* parent, std::unique_ptr<ui::WindowModel> model)
    : Window(parent, std::move(model)) {}

void Edit::ChangeSelection(const Selection& selection) {
  trace::Call call(this, "ChangeSelection", selection.Min(), selection.Max());
  call.Write();
  selection_ = selection;
}

MultiLineEdit::MultiLineEdit(Window* parent, WinBits style)
    : Edit(parent, std::make_unique<ui::WindowModel>()) {
  trace::Call call("SV::MultiLineEdit::MultiLineEdit", trace::Window(parent), style);
  call.Created("SV::MultiLineEdit", this);
}
MultiLineEdit::~MultiLineEdit() = default;

Button::Button(Window* parent) : Window(parent, std::make_unique<ui::WindowModel>()) {
  trace::Call call("SV::Button::Button", trace::Window(parent));
  call.Created("SV::Button", this);
}
Button::~Button() = default;

}  // namespace SV
