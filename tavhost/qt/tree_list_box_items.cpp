#include "tavhost/qt/tree_list_box_items.h"

#include <QApplication>
#include <QImage>
#include <QPainter>
#include <QPixmap>
#include <QStyle>
#include <iterator>

#include "tavhost/qt/shown_text.h"

namespace ui {

namespace {

using Handle = TreeListBoxModel::Handle;

struct BuiltInIcon {
  const char* name;
  QStyle::StandardPixmap pixmap;
};

constexpr BuiltInIcon kBuiltInIcons[] = {
    {"folder", QStyle::SP_DirIcon},
    {"document", QStyle::SP_FileIcon},
    {"warning", QStyle::SP_MessageBoxWarning},
    {"error", QStyle::SP_MessageBoxCritical},
    {"information", QStyle::SP_MessageBoxInformation},
    {"question", QStyle::SP_MessageBoxQuestion},
    {"ok", QStyle::SP_DialogApplyButton},
    {"cancel", QStyle::SP_DialogCancelButton},
    {"computer", QStyle::SP_ComputerIcon},
    {"drive", QStyle::SP_DriveHDIcon},
    {"home", QStyle::SP_DirHomeIcon},
    {"link", QStyle::SP_FileLinkIcon},
    {"new", QStyle::SP_FileDialogNewFolder},
    {"trash", QStyle::SP_TrashIcon},
};

QIcon IconOf(const ImageSource& source) {
  for (const BuiltInIcon& known : kBuiltInIcons) {
    if (source.icon == known.name) return QApplication::style()->standardIcon(known.pixmap);
  }
  const QImage image = QImage::fromData(reinterpret_cast<const uchar*>(source.bytes.data()),
                                        static_cast<int>(source.bytes.size()));
  return image.isNull() ? QIcon() : QIcon(QPixmap::fromImage(image));
}

// Two icons side by side as one.
QIcon Pair(const QIcon& first, const QIcon& second) {
  const int side = QApplication::style()->pixelMetric(QStyle::PM_SmallIconSize);
  const qreal ratio = qApp->devicePixelRatio();
  QPixmap both(QSize(side * 2 + 2, side) * ratio);
  both.setDevicePixelRatio(ratio);
  both.fill(Qt::transparent);
  QPainter painter(&both);
  first.paint(&painter, QRect(0, 0, side, side));
  second.paint(&painter, QRect(side + 2, 0, side, side));
  return QIcon(both);
}

}  // namespace

const std::vector<Handle>& TreeListBoxItems::ShownChildren(Handle item) const {
  static const std::vector<Handle> none;
  if (!filtered_) return tree_.Children(item);
  const auto found = children_.find(item);
  return found == children_.end() ? none : found->second;
}

// Goes up from each match, through its parents, until one is shown already: so every item is looked
// at once, however many matches lie below it.
void TreeListBoxItems::SetFilter(const QString& text) {
  beginResetModel();
  filtered_ = !text.isEmpty();
  children_.clear();
  rows_.clear();
  if (filtered_) {
    std::vector<bool> shown(tree_.HandleEnd());
    rows_.assign(tree_.HandleEnd(), -1);
    for (Handle item = tree_.Next(TreeListBoxModel::kRoot); item != TreeListBoxModel::kNone;
         item = tree_.Next(item)) {
      if (!Shown(tree_.Text(item)).contains(text, Qt::CaseInsensitive)) continue;
      for (Handle up = item; up != TreeListBoxModel::kRoot && !shown[up]; up = tree_.Parent(up)) {
        shown[up] = true;
      }
    }
    for (Handle item = tree_.Next(TreeListBoxModel::kRoot); item != TreeListBoxModel::kNone;
         item = tree_.Next(item)) {
      if (!shown[item]) continue;
      std::vector<Handle>& siblings = children_[tree_.Parent(item)];
      rows_[item] = static_cast<int>(siblings.size());
      siblings.push_back(item);
    }
  }
  endResetModel();
}

bool TreeListBoxItems::IsShown(Handle item) const { return !filtered_ || rows_[item] >= 0; }

QModelIndex TreeListBoxItems::IndexOf(Handle item) const {
  if (item == TreeListBoxModel::kRoot || item == TreeListBoxModel::kNone) return QModelIndex();
  if (!filtered_) return createIndex(static_cast<int>(tree_.Row(item)), 0, quintptr{item});
  return rows_[item] < 0 ? QModelIndex() : createIndex(rows_[item], 0, quintptr{item});
}

void TreeListBoxItems::Refresh() {
  Q_EMIT layoutAboutToBeChanged();
  Q_EMIT layoutChanged();
}

QModelIndex TreeListBoxItems::index(int row, int column, const QModelIndex& parent) const {
  const std::vector<Handle>& children = ShownChildren(ItemOf(parent));
  if (row < 0 || static_cast<std::size_t>(row) >= children.size()) return QModelIndex();
  return createIndex(row, column, quintptr{children[static_cast<std::size_t>(row)]});
}

QModelIndex TreeListBoxItems::parent(const QModelIndex& index) const {
  return index.isValid() ? IndexOf(tree_.Parent(ItemOf(index))) : QModelIndex();
}

int TreeListBoxItems::rowCount(const QModelIndex& parent) const {
  if (parent.column() > 0) return 0;
  return static_cast<int>(ShownChildren(ItemOf(parent)).size());
}

int TreeListBoxItems::columnCount(const QModelIndex&) const {
  return static_cast<int>(tree_.Rules().columns);
}

bool TreeListBoxItems::hasChildren(const QModelIndex& parent) const {
  if (parent.column() > 0) return false;
  const Handle item = ItemOf(parent);
  // Parents without children show that they are parents.
  return item == TreeListBoxModel::kRoot || filtered_ ? !ShownChildren(item).empty()
                                                      : tree_.IsParent(item);
}

QVariant TreeListBoxItems::Decoration(Handle item) const {
  const auto icon = [this](const std::shared_ptr<const ImageSource>& source) {
    if (!source) return QIcon();
    const auto [place, isNew] = icons_.try_emplace(source.get());
    if (isNew) place->second = IconOf(*source);
    return place->second;
  };
  const auto& firstSource = tree_.Image(item, false);
  const auto& secondSource = tree_.Image(item, true);
  const QIcon first = icon(firstSource);
  const QIcon second = icon(secondSource);
  if (second.isNull()) return first.isNull() ? QVariant() : QVariant(first);
  if (first.isNull()) return second;
  const auto [place, isNew] = pairs_.try_emplace({firstSource.get(), secondSource.get()});
  if (isNew) place->second = Pair(first, second);
  return place->second;
}

QVariant TreeListBoxItems::data(const QModelIndex& index, int role) const {
  const Handle item = ItemOf(index);
  switch (role) {
    case Qt::DisplayRole:
    case Qt::ToolTipRole: {
      const bool isLast = index.column() + 1 == tree_.Rules().columns;
      // With one column the tabs in a text are blanks.
      QString text = tree_.Rules().columns == 1 && isLast
                         ? Shown(tree_.Text(item))
                         : Shown(tree_.ColumnText(item, index.column()));
      return text.replace(QLatin1Char('\t'), QLatin1Char(' '));
    }
    case Qt::DecorationRole:
      return index.column() == 0 ? Decoration(item) : QVariant();
    case Qt::CheckStateRole:
      if (!tree_.Rules().checkBoxes || index.column() != 0 || !tree_.IsSelectable(item)) break;
      return tree_.IsSelected(item) ? Qt::Checked : Qt::Unchecked;
    default:
      break;
  }
  return QVariant();
}

QVariant TreeListBoxItems::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal) return QVariant();
  if (role == Qt::AccessibleTextRole) return QStringLiteral("Column %1").arg(section + 1);
  if (role == Qt::ToolTipRole) {
    return QStringLiteral(
        "Pull an edge to make a column wider or narrower; a double click there makes it fit again");
  }
  return QVariant();
}

bool TreeListBoxItems::setData(const QModelIndex& index, const QVariant& value, int role) {
  if (role != Qt::CheckStateRole) return false;
  const bool checked = value.toInt() == Qt::Checked;
  if (!tree_.Select(ItemOf(index), checked)) return false;
  // Where only one can be checked, another lost its mark.
  if (tree_.Rules().multiple) {
    Q_EMIT dataChanged(index, index, {role});
  } else {
    Refresh();
    Q_EMIT dataChanged(index, index, {role});
  }
  return true;
}

Qt::ItemFlags TreeListBoxItems::flags(const QModelIndex& index) const {
  const Handle item = ItemOf(index);
  Qt::ItemFlags flags = Qt::ItemIsEnabled;
  if (!tree_.IsParent(item)) flags |= Qt::ItemNeverHasChildren;
  if (tree_.Rules().checkBoxes) {
    flags |= Qt::ItemIsSelectable;  // to be the current one; the marks are the choice
    if (index.column() == 0 && tree_.IsSelectable(item)) flags |= Qt::ItemIsUserCheckable;
  } else if (tree_.IsSelectable(item)) {
    flags |= Qt::ItemIsSelectable;
  }
  return flags;
}

}  // namespace ui
