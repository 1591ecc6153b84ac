#include "host/dialog/list_box_dialog.h"

#include "tavhost/base/string_of.h"
#include "tavhost/base/trace.h"
#include "tavhost/ui/models/list_box_model.h"

TavListBoxDialog::TavListBoxDialog(SV::Window* parent)
    : TavModalDialog(parent, std::make_unique<ui::ListBoxModel>(false)) {
  trace::Call call("TavListBoxDialog::TavListBoxDialog", trace::Window(parent));
  call.Created("TavListBoxDialog", this);
}

TavListBoxDialog::~TavListBoxDialog() = default;

ui::ListBoxModel& TavListBoxDialog::List() { return static_cast<ui::ListBoxModel&>(Model()); }

void TavListBoxDialog::SetBoxText(const SV::String& text) {
  trace::Call call(this, "SetBoxText", text);
  call.Write();
  List().boxText = text.View();
}

void TavListBoxDialog::SetOKText(const SV::String& text) {
  trace::Call call(this, "SetOKText", text);
  call.Write();
  List().okText = text.View();
}

void TavListBoxDialog::InsertEntry(const SV::String& text) {
  trace::Call call(this, "InsertEntry", text);
  call.Write();
  List().Insert(text.View());
}

void TavListBoxDialog::SelectEntry(const SV::String& text) {
  trace::Call call(this, "SelectEntry", text);
  call.Write();
  List().Select(text.View());
}

void TavListBoxDialog::AddCheckBox(const SV::String& text, bool checked) {
  trace::Call call(this, "AddCheckBox", text, checked);
  call.Write();
  List().AddCheckBox(std::string(text.View()), checked);
}

bool TavListBoxDialog::IsChecked(const SV::String& text) {
  trace::Call call(this, "IsChecked", text);
  return call.Result(List().IsChecked(text.View()));
}

SV::String TavListBoxDialog::GetSelectEntry() {
  trace::Call call(this, "GetSelectEntry");
  const std::vector<std::uint32_t> selected = List().Selected();
  if (selected.empty()) return call.Result(SV::String());
  const std::string_view entry = List().Entry(selected.front());
  return call.Result(base::StringOf(entry));
}
