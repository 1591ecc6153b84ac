#pragma once

#include <QAbstractListModel>
#include <QCache>
#include <QLabel>
#include <QListView>
#include <QPixmap>

#include "tavhost/qt/modal_view.h"
#include "tavhost/qt/shown_rows.h"
#include "tavhost/ui/models/image_dialog_model.h"

namespace ui {

// Thumbnails of the images, and the chosen one larger beside them. Many images can be searched by
// their names.
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

    const ImageDialogModel::Entry& At(int row) const { return images_.entries[EntryAt(row)]; }
    void Search(const QString& text);

   private:
    std::size_t EntryAt(int row) const { return rows_.EntryAt(row); }

    const ImageDialogModel& images_;
    ShownRows rows_;
    mutable QCache<std::size_t, QPixmap> pixmaps_;  // by entry
  };

  void ReadModel() override;
  bool eventFilter(QObject* object, QEvent* event) override;
  void Search(const QString& text);
  void ShowPreview();
  const ImageDialogModel::Entry* Chosen() const;  // null when none is chosen

  ImageDialogModel& images_;
  Thumbnails thumbnails_;
  QListView* view_;
  QLabel* preview_;
  QLabel* details_;
  const int side_;  // of the preview
};

}  // namespace ui
