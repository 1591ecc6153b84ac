#include "tavhost/qt/image_dialog_view.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QImageReader>
#include <QItemSelectionModel>
#include <QPainter>
#include <algorithm>

#include "tavhost/qt/on_screen.h"
#include "tavhost/qt/search_field.h"
#include "tavhost/qt/shown_text.h"

namespace ui {

namespace {

constexpr int kThumbnail = 96;
constexpr int kPreview = 280;  // on screens that have the room
constexpr int kKeptThumbnails = 500;

// Scaled down to fit; a null pixmap when the file is no image.
QPixmap ReadImage(const std::string& file, int side, qreal ratio, QSize* original) {
  QImageReader reader(Editable(file));
  reader.setAutoTransform(true);
  const QSize size = reader.size();
  if (original) *original = size;
  const int pixels = static_cast<int>(side * ratio);
  if (size.width() > pixels || size.height() > pixels) {
    reader.setScaledSize(size.scaled(pixels, pixels, Qt::KeepAspectRatio));
  }
  QPixmap pixmap = QPixmap::fromImage(reader.read());
  pixmap.setDevicePixelRatio(ratio);
  return pixmap;
}

}  // namespace

ImageDialogView::Thumbnails::Thumbnails(const ImageDialogModel& images)
    : images_(images), pixmaps_(kKeptThumbnails) {}

int ImageDialogView::Thumbnails::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : rows_.Count(images_.entries.size());
}

void ImageDialogView::Thumbnails::Search(const QString& text) {
  beginResetModel();
  rows_.Search(text, static_cast<std::uint32_t>(images_.entries.size()),
               [this](std::uint32_t entry) { return Shown(images_.entries[entry].name); });
  endResetModel();
}

QVariant ImageDialogView::Thumbnails::data(const QModelIndex& index, int role) const {
  const ImageDialogModel::Entry& entry = At(index.row());
  if (role == Qt::DisplayRole || role == Qt::ToolTipRole) return Shown(entry.name);
  if (role != Qt::DecorationRole) return QVariant();
  if (QPixmap* const kept = pixmaps_.object(EntryAt(index.row()))) return *kept;
  const QPixmap pixmap = ReadImage(entry.file, kThumbnail, qApp->devicePixelRatio(), nullptr);
  // All of one size, so that the grid is even.
  QPixmap tile(QSize(kThumbnail, kThumbnail) * pixmap.devicePixelRatio());
  tile.setDevicePixelRatio(pixmap.devicePixelRatio());
  tile.fill(Qt::transparent);
  if (!pixmap.isNull()) {
    const QSizeF size = pixmap.deviceIndependentSize();
    QPainter painter(&tile);
    painter.drawPixmap(QPointF((kThumbnail - size.width()) / 2, (kThumbnail - size.height()) / 2),
                       pixmap);
  }
  pixmaps_.insert(EntryAt(index.row()), new QPixmap(tile));
  return tile;
}

ImageDialogView::ImageDialogView(ImageDialogModel& model, QWidget* parent)
    : ModalView(model, std::make_unique<QDialog>(parent)),
      images_(model),
      thumbnails_(model),
      view_(new QListView),
      preview_(new QLabel),
      details_(new QLabel),
      side_(std::clamp(MostOnScreen(Dialog()).height() / 2, kThumbnail, kPreview)) {
  view_->setObjectName(QStringLiteral("images"));
  view_->setAccessibleName(QStringLiteral("Images"));
  view_->setModel(&thumbnails_);
  view_->setViewMode(QListView::IconMode);
  view_->setMovement(QListView::Static);
  view_->setResizeMode(QListView::Adjust);
  view_->setIconSize(QSize(kThumbnail, kThumbnail));
  view_->setGridSize(QSize(kThumbnail + 24, kThumbnail + view_->fontMetrics().lineSpacing() + 20));
  view_->setUniformItemSizes(true);
  view_->setTextElideMode(Qt::ElideMiddle);
  view_->setSelectionMode(QAbstractItemView::SingleSelection);
  preview_->setFixedSize(side_, side_);
  preview_->setAlignment(Qt::AlignCenter);
  preview_->setFrameShape(QFrame::StyledPanel);
  preview_->setAccessibleName(QStringLiteral("Preview"));
  details_->setTextFormat(Qt::PlainText);
  details_->setWordWrap(true);
  details_->setFixedWidth(side_);
  details_->setAlignment(Qt::AlignHCenter | Qt::AlignTop);

  auto* const side = new QVBoxLayout;
  side->addWidget(preview_);
  side->addWidget(details_, 1);
  auto* const row = new QHBoxLayout;
  auto* const list = new QVBoxLayout;
  if (model.entries.size() > kMostUnsearched) {
    auto* const search = new SearchField(*view_);
    QObject::connect(search, &QLineEdit::textChanged, this,
                     [this](const QString& text) { Search(text); });
    list->addWidget(search);
  }
  list->addWidget(view_, 1);
  row->addLayout(list, 1);
  row->addLayout(side);
  auto* const layout = new QVBoxLayout(&Dialog());
  layout->addLayout(row, 1);
  layout->addWidget(MakeButtons());
  Dialog().setSizeGripEnabled(true);
  if (!model.size) model.size = SV::Size(760, 440);

  QObject::connect(view_->selectionModel(), &QItemSelectionModel::selectionChanged, this,
                   [this] { ShowPreview(); });
  QObject::connect(view_, &QListView::doubleClicked, this, [this] { End("ok"); });
  ShowModel();
  view_->setFocus();
}

const ImageDialogModel::Entry* ImageDialogView::Chosen() const {
  const QModelIndexList selected = view_->selectionModel()->selectedIndexes();
  if (selected.isEmpty()) return nullptr;
  return &thumbnails_.At(selected.front().row());
}

void ImageDialogView::ShowPreview() {
  const ImageDialogModel::Entry* const entry = Chosen();
  if (!entry) {
    preview_->clear();
    details_->setText(images_.entries.empty() ? QStringLiteral("There are no images.") : QString());
    return;
  }
  QSize size;
  const QPixmap pixmap = ReadImage(entry->file, side_ - 8, qApp->devicePixelRatio(), &size);
  if (pixmap.isNull()) {
    preview_->setText(QStringLiteral("No preview"));
  } else {
    preview_->setPixmap(pixmap);
  }
  QString details = Shown(entry->name);
  if (size.isValid()) {
    details += QStringLiteral("\n%1 × %2").arg(size.width()).arg(size.height());
  }
  details_->setText(details);
}

void ImageDialogView::ShowModel() {
  view_->clearSelection();
  for (int row = 0; row < thumbnails_.rowCount(QModelIndex()); ++row) {
    if (thumbnails_.At(row).name != images_.selected) continue;
    const QModelIndex index = thumbnails_.index(row);
    view_->selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect);
    view_->scrollTo(index);
    break;
  }
  ShowPreview();
}

// An image that the search hides is chosen no more.
void ImageDialogView::Search(const QString& text) {
  ReadModel();
  thumbnails_.Search(text);
  ShowModel();
}

bool ImageDialogView::eventFilter(QObject* object, QEvent* event) {
  if (ModalView::eventFilter(object, event)) return true;
  if (object != view_ || event->type() != QEvent::KeyPress) return false;
  const auto& key = static_cast<const QKeyEvent&>(*event);
  BeginTyping(*view_, key);
  return ChoosesCurrent(*view_, key);
}

void ImageDialogView::ReadModel() {
  const ImageDialogModel::Entry* const entry = Chosen();
  images_.selected = entry ? entry->name : std::string();
}

}  // namespace ui
