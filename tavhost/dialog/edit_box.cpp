#include "host/dialog/edit_box.h"

#include "tavhost/base/trace.h"
#include "tavhost/dialog/text_control.h"
#include "tavhost/ui/models/text_box_model.h"

TavEditBox::TavEditBox(SV::Window* parent, int fileEditor)
    : TavModalDialog(parent, std::make_unique<ui::TextBoxModel>(true, fileEditor != 0)) {
  trace::Call call("TavEditBox::TavEditBox", trace::Window(parent), fileEditor);
  control_ = std::make_unique<TextControl>(*this);
  call.Created("TavEditBox", this);
}

TavEditBox::~TavEditBox() {
  trace::Call call(this, "~TavEditBox");
  call.Write();
  control_.reset();
}

ui::TextBoxModel& TavEditBox::Box() { return static_cast<ui::TextBoxModel&>(Model()); }

void TavEditBox::SetEditText(const SV::String& text) {
  trace::Call call(this, "SetEditText", text);
  call.Write();
  Box().text = text.View();
}

SV::String TavEditBox::GetEditText() {
  trace::Call call(this, "GetEditText");
  return call.Result(SV::String(Box().text.data(), static_cast<long>(Box().text.size())));
}

void TavEditBox::SetOKText(const SV::String& text) {
  trace::Call call(this, "SetOKText", text);
  call.Write();
  Box().okText = text.View();
}

SV::MultiLineEdit& TavEditBox::GetTextControl() {
  trace::Call call(this, "GetTextControl");
  return *call.ResultObject(control_.get());
}
