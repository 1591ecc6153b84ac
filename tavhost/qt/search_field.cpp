#include "tavhost/qt/search_field.h"

#include <QItemSelectionModel>
#include <QShortcut>
#include <QTreeView>

namespace ui {

namespace {

bool HasNoModifiers(const QKeyEvent& key) {
  return (key.modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
}

bool IsArrow(const QAbstractItemView& list, const QKeyEvent& key) {
  if (!HasNoModifiers(key)) return false;
  if (key.key() == Qt::Key_Down || key.key() == Qt::Key_Up) return true;
  // In a tree these open and close parents.
  if (qobject_cast<const QTreeView*>(&list)) return false;
  return key.key() == Qt::Key_Right || key.key() == Qt::Key_Left;
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

bool ChoosesCurrent(QAbstractItemView& list, const QKeyEvent& key) {
  return IsArrow(list, key) && ChooseCurrent(list);
}

}  // namespace ui
