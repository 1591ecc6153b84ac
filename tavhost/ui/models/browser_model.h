#pragma once

#include "tavhost/ui/models/modal_model.h"
#include "tavhost/ui/table/table_model.h"

namespace ui {

// A table to be read. The table is the caller's and outlives the window.
class BrowserModel final : public ModalModel {
 public:
  BrowserModel(TableModel& table, bool large)
      : ModalModel(ModalKind::kBrowser, "Table"), table_(table), large_(large) {}

  TableModel& Table() { return table_; }
  const TableModel& Table() const { return table_; }
  // Large windows take most of the screen.
  bool IsLarge() const { return large_; }

  std::vector<ModalButton> Buttons() const override { return {{"close", "Close", 1}}; }

 private:
  TableModel& table_;
  bool large_;
};

// A table to be changed. Changes stay, however the window ends.
class EditBrowserModel final : public ModalModel {
 public:
  enum Special { kInsertRow, kDeleteRow, kSortRows, kSpecialCount };

  explicit EditBrowserModel(TableModel& table)
      : ModalModel(ModalKind::kEditBrowser, "Edit table"), table_(table) {}

  TableModel& Table() { return table_; }
  const TableModel& Table() const { return table_; }

  std::vector<ModalButton> Buttons() const override { return OkAndCancel(okText); }

  std::string okText = "OK";
  bool showsSpecial[kSpecialCount] = {true, true, true};

 private:
  TableModel& table_;
};

}  // namespace ui
