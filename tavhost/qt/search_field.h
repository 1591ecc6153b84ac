#pragma once

#include <QAbstractItemView>
#include <QKeyEvent>
#include <QLineEdit>

namespace ui {

// Lists with more entries than this have a search field.
inline constexpr std::size_t kMostUnsearched = 20;

// The field above a list or tree that narrows it. Down goes to the list, Ctrl+F comes back.
class SearchField final : public QLineEdit {
 public:
  explicit SearchField(QAbstractItemView& list);

 protected:
  void keyPressEvent(QKeyEvent* event) override;

 private:
  QAbstractItemView& list_;
};

// Before a key goes to the list: where nothing is chosen yet, typing looks from the first entry on,
// that one included.
void BeginTyping(QAbstractItemView& list, const QKeyEvent& key);

// For lists in which nothing is chosen yet: an arrow key chooses the entry that has the focus, so
// that the first press does not go past it. False when the key is to do what it always does.
bool ChoosesCurrent(QAbstractItemView& list, const QKeyEvent& key);

}  // namespace ui
