#include "host/dialog/multi_list_box_dialog.h"

#include "tavhost/base/string_of.h"
#include "tavhost/base/trace.h"
#include "tavhost/ui/models/list_box_model.h"

TavMultiListBoxDialog::TavMultiListBoxDialog(SV::Window* parent)
    : TavModalDialog(parent, std::make_unique<ui::ListBoxModel>(true)) {
  trace::Call call("TavMultiListBoxDialog::TavMultiListBoxDialog", trace::Window(parent));
  call.Created("TavMultiListBoxDialog", this);
}

TavMultiListBoxDialog::~TavMultiListBoxDialog() = default;

ui::ListBoxModel& TavMultiListBoxDialog::List() { return static_cast<ui::ListBoxModel&>(Model()); }

void TavMultiListBoxDialog::SetBoxText(const SV::String& text) {
  trace::Call call(this, "SetBoxText", text);
  call.Write();
  List().boxText = text.View();
}

void TavMultiListBoxDialog::SetOKText(const SV::String& text) {
  trace::Call call(this, "SetOKText", text);
  call.Write();
  List().okText = text.View();
}

void TavMultiListBoxDialog::InsertEntry(const SV::String& text) {
  trace::Call call(this, "InsertEntry", text);
  call.Write();
  List().Insert(text.View());
}

void TavMultiListBoxDialog::SelectEntry(const SV::String& text) {
  trace::Call call(this, "SelectEntry", text);
  call.Write();
  List().Select(text.View());
}

void TavMultiListBoxDialog::AddCheckBox(const SV::String& text, bool checked) {
  trace::Call call(this, "AddCheckBox", text, checked);
  call.Write();
  List().AddCheckBox(std::string(text.View()), checked);
}

bool TavMultiListBoxDialog::IsChecked(const SV::String& text) {
  trace::Call call(this, "IsChecked", text);
  return call.Result(List().IsChecked(text.View()));
}

std::uint32_t TavMultiListBoxDialog::GetSelectEntryCount() {
  trace::Call call(this, "GetSelectEntryCount");
  selected_ = List().Selected();
  return call.Result(static_cast<std::uint32_t>(selected_.size()));
}

SV::String TavMultiListBoxDialog::GetSelectEntry(std::uint32_t index) {
  trace::Call call(this, "GetSelectEntry", index);
  // GetSelectEntryCount finds the selected entries; one who has not called it gets them all the
  // same.
  if (index >= selected_.size()) selected_ = List().Selected();
  if (index >= selected_.size()) return call.Result(SV::String());
  const std::string_view entry = List().Entry(selected_[index]);
  return call.Result(base::StringOf(entry));
}
