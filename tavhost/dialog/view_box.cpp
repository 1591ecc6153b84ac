#include "host/dialog/view_box.h"

#include "tavhost/base/trace.h"
#include "tavhost/dialog/text_control.h"
#include "tavhost/ui/models/text_box_model.h"

TavViewBox::TavViewBox(SV::Window* parent, int fileEditor)
    : TavModalDialog(parent, std::make_unique<ui::TextBoxModel>(false, fileEditor != 0)) {
  trace::Call call("TavViewBox::TavViewBox", trace::Window(parent), fileEditor);
  control_ = std::make_unique<TextControl>(*this);
  call.Created("TavViewBox", this);
}

TavViewBox::~TavViewBox() {
  trace::Call call(this, "~TavViewBox");
  call.Write();
  control_.reset();
}

ui::TextBoxModel& TavViewBox::Box() { return static_cast<ui::TextBoxModel&>(Model()); }

void TavViewBox::SetViewText(const SV::String& text) {
  trace::Call call(this, "SetViewText", text);
  call.Write();
  Box().text = text.View();
}

SV::MultiLineEdit& TavViewBox::GetTextControl() {
  trace::Call call(this, "GetTextControl");
  return *call.ResultObject(control_.get());
}
