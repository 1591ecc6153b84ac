#pragma once

#include <QPushButton>
#include <QTimer>
#include <QTreeView>
#include <string>
#include <utility>
#include <vector>

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
  void SetUpColumns();
  QWidget* MakeButtonRow();
  void LimitSize();
  void ShowSelection();
  void ShowExpansion();
  void Filter(const QString& text);
  void TakeSelection(const QItemSelection& selected, const QItemSelection& deselected);
  // Columns are as wide as what can be seen needs, unless the user has pulled them. Soon: once,
  // however many parents open at a time.
  void FitColumnsSoon(bool mayNarrow);
  void FitColumns();
  int FittingWidth(int column, bool mayNarrow);
  void UpdateButtons();
  void SelectAllShown();
  bool eventFilter(QObject* object, QEvent* event) override;

  TreeListBoxModel& tree_;
  TreeListBoxItems items_;
  QTreeView* view_;
  std::vector<std::pair<QPushButton*, std::string>> buttons_;
  bool showing_ = false;  // the view is being set from the model
  QTimer fit_;
  bool mayNarrow_ = false;   // the next fit may make columns narrower
  bool fitting_ = false;     // columns change their widths, and the user has not done it
  std::vector<int> needed_;  // the width that a column was last found to need
  std::vector<int> pulled_;  // the width that the user has given to a column, 0: none
};

}  // namespace ui
