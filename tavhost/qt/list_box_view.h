#pragma once

#include <QAbstractListModel>
#include <QCheckBox>
#include <QListView>
#include <vector>

#include "tavhost/qt/modal_view.h"
#include "tavhost/qt/shown_rows.h"
#include "tavhost/ui/models/list_box_model.h"

namespace ui {

// A list of entries, and check boxes below it. A long list can be searched: what the search hides
// keeps its state in the model, but counts as not selected when the dialog ends.
class ListBoxView final : public ModalView {
 public:
  ListBoxView(ListBoxModel& model, QWidget* parent);

  void ShowModel() override;

 private:
  // The entries where they lie; one becomes a text when it is drawn or looked through.
  class Entries final : public QAbstractListModel {
   public:
    explicit Entries(const ListBoxModel& list) : list_(list) {}

    int rowCount(const QModelIndex& parent) const override;
    QVariant data(const QModelIndex& index, int role) const override;

    const ShownRows& Rows() const { return rows_; }
    void Search(const QString& text);

   private:
    const ListBoxModel& list_;
    ShownRows rows_;
  };

  void ReadModel() override;
  bool eventFilter(QObject* object, QEvent* event) override;

  void Search(const QString& text);
  void ShowSelection();
  // What is shown is selected in the model as it is in the view.
  void TakeSelection();
  QWidget* MakeCheckBoxes();

  ListBoxModel& list_;
  Entries entries_;
  QListView* view_;
  std::vector<QCheckBox*> checkBoxes_;
};

}  // namespace ui
