#pragma once

#include <QAbstractListModel>
#include <QCache>
#include <QLabel>
#include <QListView>
#include <QPixmap>

#include "tavhost/qt/modal_view.h"
#include "tavhost/ui/models/image_dialog_model.h"

namespace ui {

// Thumbnails of the images, and the chosen one larger beside them.
class ImageDialogView final : public ModalView {
 public:
  ImageDialogView(ImageDialogModel& model, QWidget* parent);

  void ShowModel() override;

 private:
  // An image is read when its thumbnail comes into view.
  class Thumbnails final : public QAbstractListModel {
   public:
    explicit Thumbnails(const ImageDialogModel& images);

    int rowCount(const QModelIndex& parent) const override;
    QVariant data(const QModelIndex& index, int role) const override;

   private:
    const ImageDialogModel& images_;
    mutable QCache<int, QPixmap> pixmaps_;
  };

  void ReadModel() override;
  void ShowPreview();
  const ImageDialogModel::Entry* Chosen() const;  // null when none is chosen

  ImageDialogModel& images_;
  Thumbnails thumbnails_;
  QListView* view_;
  QLabel* preview_;
  QLabel* details_;
};

}  // namespace ui
