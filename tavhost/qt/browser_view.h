#pragma once

#include <QPushButton>

#include "tavhost/qt/modal_view.h"
#include "tavhost/qt/table_panel.h"
#include "tavhost/ui/models/browser_model.h"

namespace ui {

// Shows a table to be read.
class BrowserView final : public ModalView {
 public:
  BrowserView(BrowserModel& model, QWidget* parent);

  void ShowModel() override;

 private:
  void ReadModel() override {}

  TablePanel* panel_;
};

// Shows a table to be changed.
class EditBrowserView final : public ModalView {
 public:
  EditBrowserView(EditBrowserModel& model, QWidget* parent);

  void ShowModel() override;

 private:
  void ReadModel() override;
  QWidget* MakeButtonRow();
  void AddShortcuts();
  void InsertRow();
  void DeleteRows();
  void SortRows();
  void ClearCells();
  void Paste();
  void Undo(bool again);
  void UpdateButtons();

  EditBrowserModel& browser_;
  TablePanel* panel_;
  QPushButton* special_[EditBrowserModel::kSpecialCount];
};

}  // namespace ui
