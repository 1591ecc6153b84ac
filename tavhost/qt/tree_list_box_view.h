#pragma once

#include <QPushButton>
#include <string>
#include <utility>
#include <vector>

#include "tavhost/qt/fitting_tree_view.h"
#include "tavhost/qt/modal_view.h"
#include "tavhost/qt/tree_list_box_items.h"

namespace ui {

// Shows a tree list box. What the user selects and expands goes to the model at once; what a
// filter hides keeps its state there, but counts as not selected when the dialog ends.
class TreeListBoxView final : public ModalView {
 public:
  TreeListBoxView(TreeListBoxModel& model, QWidget* parent);
  ~TreeListBoxView() override;

  void ShowModel() override;

 private:
  void ReadModel() override;

  void SetUpTree();
  QWidget* MakeButtonRow();
  int ButtonWidth();
  int ButtonColumns();
  void LimitSize();
  void ShowSelection();
  void ShowExpansion();
  void Filter(const QString& text);
  void TakeSelection(const QItemSelection& selected, const QItemSelection& deselected);
  void UpdateButtons();
  void SelectAllShown();
  bool eventFilter(QObject* object, QEvent* event) override;

  TreeListBoxModel& tree_;
  TreeListBoxItems items_;
  FittingTreeView* view_;
  std::vector<std::pair<QPushButton*, std::string>> buttons_;
  bool showing_ = false;  // the view is being set from the model
};

}  // namespace ui
