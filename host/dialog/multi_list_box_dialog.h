#pragma once

#include <cstdint>
#include <vector>

#include "host/dialog/modal_dialog.h"

namespace ui {
class ListBoxModel;
}

// Lets the user choose any number of entries of a list.
class TAV_HOST_API TavMultiListBoxDialog : public TavModalDialog {
 public:
  explicit TavMultiListBoxDialog(SV::Window* parent);
  ~TavMultiListBoxDialog() override;

  void SetBoxText(const SV::String& text);  // above the list
  void SetOKText(const SV::String& text);
  void InsertEntry(const SV::String& text);
  // Selects the first entry of that text that is not selected yet, beside those that are.
  void SelectEntry(const SV::String& text);
  void AddCheckBox(const SV::String& text, bool checked);
  // Boxes of one text count as one, the first; false when there is none.
  bool IsChecked(const SV::String& text);
  std::uint32_t GetSelectEntryCount();
  // In the list's order, from 0; empty behind the last.
  SV::String GetSelectEntry(std::uint32_t index);

 private:
  ui::ListBoxModel& List();

  std::vector<std::uint32_t> selected_;  // as of the last count
};
