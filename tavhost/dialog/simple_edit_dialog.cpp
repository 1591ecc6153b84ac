#include "host/dialog/simple_edit_dialog.h"

#include "tavhost/base/trace.h"
#include "tavhost/ui/models/edit_field_model.h"

TavSimpleEditDialog::TavSimpleEditDialog(SV::Window* parent, const SV::String& caption,
                                         std::uint32_t style)
    : TavModalDialog(parent, std::make_unique<ui::EditFieldModel>(std::string(caption.View()))) {
  trace::Call call("TavSimpleEditDialog::TavSimpleEditDialog", trace::Window(parent), caption,
                   style);
  call.Created("TavSimpleEditDialog", this);
}

TavSimpleEditDialog::~TavSimpleEditDialog() = default;

ui::EditFieldModel& TavSimpleEditDialog::Field() {
  return static_cast<ui::EditFieldModel&>(Model());
}

void TavSimpleEditDialog::setFieldValue(const SV::String& text) {
  trace::Call call(this, "setFieldValue", text);
  call.Write();
  Field().text = text.View();
}

SV::String TavSimpleEditDialog::getFieldValue() {
  trace::Call call(this, "getFieldValue");
  return call.Result(SV::String(Field().text.data(), static_cast<long>(Field().text.size())));
}
