#pragma once

#include "host/dialog/modal_dialog.h"

namespace ui {
class ListBoxModel;
}

// Lets the user choose one entry of a list.
class TAV_HOST_API TavListBoxDialog : public TavModalDialog {
 public:
  explicit TavListBoxDialog(SV::Window* parent);
  ~TavListBoxDialog() override;

  void SetBoxText(const SV::String& text);  // above the list
  void SetOKText(const SV::String& text);
  void InsertEntry(const SV::String& text);
  // Selects the first entry of that text; one that is not in the list changes nothing.
  void SelectEntry(const SV::String& text);
  void AddCheckBox(const SV::String& text, bool checked);
  // Boxes of one text count as one, the first; false when there is none.
  bool IsChecked(const SV::String& text);
  SV::String GetSelectEntry();  // empty when none is selected

 private:
  ui::ListBoxModel& List();
};
