#pragma once

#include <QTimer>
#include <QTreeView>
#include <vector>

namespace ui {

// A tree whose columns are as wide as what can be seen needs, unless the user has pulled them: also
// after a parent was opened or closed, and while one scrolls. The last takes what is left, so that
// rows are marked as far as the edge.
class FittingTreeView final : public QTreeView {
 public:
  FittingTreeView();

  // Behind setModel; its number of columns never changes.
  void SetUpColumns();
  void FitColumns();
  // Once, however many changes there are before.
  void FitColumnsSoon();

 protected:
  void resizeEvent(QResizeEvent* event) override;

 private:
  // While rows go by and the window changes, columns only become wider, so that they do not jump.
  enum class Fit { kWider, kExactly };

  void FitSoon(Fit fit);
  void FitNow();
  void MeasureColumns(Fit fit);
  void SetWidths();

  QTimer soon_;
  Fit wanted_ = Fit::kWider;
  bool fitting_ = false;     // columns change their widths, and the user has not done it
  std::vector<int> needed_;  // the width that a column was last found to need
  std::vector<int> pulled_;  // the width that the user has given to a column, 0: none
};

}  // namespace ui
