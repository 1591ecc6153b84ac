#include "tavhost/qt/search_field.h"

#include <QItemSelectionModel>
#include <QShortcut>
#include <QTreeView>

namespace ui {

namespace {

bool HasNoModifiers(const QKeyEvent& key) {
  return (key.modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
}

bool IsFirst(const QModelIndex& index) { return index.row() == 0 && !index.parent().isValid(); }

// Keys that would go past the entry, or stay on it without choosing it.
bool IsForCurrent(const QAbstractItemView& list, int key) {
  switch (key) {
    case Qt::Key_Down:
    case Qt::Key_Up:
    case Qt::Key_Left:
    case Qt::Key_Right:
      return true;
    case Qt::Key_Home:
    case Qt::Key_PageUp:
      return IsFirst(list.currentIndex());
    default:
      return false;
  }
}

bool ChooseCurrent(QAbstractItemView& list) {
  if (list.selectionMode() == QAbstractItemView::MultiSelection) return false;
  const QModelIndex current = list.currentIndex();
  QItemSelectionModel& selection = *list.selectionModel();
  if (!current.isValid() || selection.hasSelection()) return false;
  if (!current.flags().testFlag(Qt::ItemIsSelectable)) return false;
  selection.select(current, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
  list.scrollTo(current);
  return true;
}

}  // namespace

SearchField::SearchField(QAbstractItemView& list) : list_(list) {
  setObjectName(QStringLiteral("search"));
  setPlaceholderText(QStringLiteral("Search"));
  setAccessibleName(QStringLiteral("Search"));
  setClearButtonEnabled(true);
  auto* const find = new QShortcut(QKeySequence::Find, this);
  QObject::connect(find, &QShortcut::activated, this, [this] {
    setFocus(Qt::ShortcutFocusReason);
    selectAll();
  });
}

void SearchField::keyPressEvent(QKeyEvent* event) {
  if (event->key() != Qt::Key_Down || !HasNoModifiers(*event)) {
    QLineEdit::keyPressEvent(event);
    return;
  }
  list_.setFocus(Qt::OtherFocusReason);
  if (!list_.currentIndex().isValid()) {
    list_.selectionModel()->setCurrentIndex(list_.model()->index(0, 0),
                                            QItemSelectionModel::NoUpdate);
  }
  ChooseCurrent(list_);
}

void BeginTyping(QAbstractItemView& list, const QKeyEvent& key) {
  const bool types = !key.text().isEmpty() && key.text().front().isPrint() &&
                     (key.modifiers() & (Qt::ControlModifier | Qt::AltModifier)) == 0;
  if (!types || key.key() == Qt::Key_Space) return;
  if (IsFirst(list.currentIndex()) && !list.selectionModel()->hasSelection()) {
    list.selectionModel()->clearCurrentIndex();
  }
}

bool ChoosesCurrent(QAbstractItemView& list, const QKeyEvent& key) {
  if (!HasNoModifiers(key) || !IsForCurrent(list, key.key()) || !ChooseCurrent(list)) return false;
  // In a tree these open and close the parent as well.
  const bool isSideways = key.key() == Qt::Key_Left || key.key() == Qt::Key_Right;
  return !isSideways || !qobject_cast<QTreeView*>(&list);
}

}  // namespace ui
