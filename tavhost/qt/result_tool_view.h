#pragma once

#include <QLabel>
#include <QStackedLayout>
#include <QToolButton>
#include <QWidget>
#include <memory>

#include "tavhost/qt/table_panel.h"
#include "tavhost/qt/wrapping_row.h"
#include "tavhost/ui/models/result_tool_model.h"

namespace ui {

// The tables of a result tool, one at a time, and the buttons that the script chose.
class ResultToolView final : public QWidget, private ResultToolObserver {
 public:
  explicit ResultToolView(ResultToolModel& model);
  ~ResultToolView() override;

 protected:
  void focusInEvent(QFocusEvent* event) override;  // the table takes it

 private:
  void ResultsChanged(ResultToolModel&) override;
  void ButtonsChanged(ResultToolModel&) override;
  void LookChanged(ResultToolModel&) override;

  QToolButton* MakeButton(ResultToolModel::Button which, const QString& label, const char* name);
  QString Title() const;
  void UpdateButtons();

  ResultToolModel& model_;
  TableModel nothing_{false};  // shown while there are no results
  TableModel* shown_;
  bool isRefreshDue_ = false;
  QToolButton* buttons_[ResultToolModel::kButtonCount];
  QLabel* place_;
  WrappingRow* bar_;
  TablePanel* panel_;
};

}  // namespace ui
