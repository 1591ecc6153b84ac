#pragma once

#include <QAbstractListModel>
#include <QCheckBox>
#include <QListView>
#include <vector>

#include "tavhost/qt/modal_view.h"
#include "tavhost/ui/models/list_box_model.h"

namespace ui {

// A list of entries, and check boxes below it.
class ListBoxView final : public ModalView {
 public:
  ListBoxView(ListBoxModel& model, QWidget* parent);

  void ShowModel() override;

 private:
  // The entries where they lie; one becomes a text when it is drawn.
  class Entries final : public QAbstractListModel {
   public:
    explicit Entries(const ListBoxModel& list) : list_(list) {}

    int rowCount(const QModelIndex& parent) const override;
    QVariant data(const QModelIndex& index, int role) const override;

   private:
    const ListBoxModel& list_;
  };

  void ReadModel() override;

  QWidget* MakeCheckBoxes();

  ListBoxModel& list_;
  Entries entries_;
  QListView* view_;
  std::vector<QCheckBox*> checkBoxes_;
};

}  // namespace ui
