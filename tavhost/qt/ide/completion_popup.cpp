#include "tavhost/qt/ide/completion_popup.h"

#include <QAbstractItemView>
#include <QCompleter>
#include <QKeyEvent>
#include <QScrollBar>
#include <QStringListModel>
#include <QTextBlock>
#include <utility>

#include "tavhost/qt/ide/script_editor.h"
#include "tavhost/qt/ide/words.h"

namespace ui::ide_view {

namespace {

// Offered unasked only behind so much of a word: less would cover what is being read.
constexpr qsizetype kTypedBeforeOffer = 2;
// In a longer text, in characters, words are offered only when they are asked for: finding them
// would hold up typing.
constexpr int kMostForOffers = 2'000'000;

}  // namespace

CompletionPopup::CompletionPopup(ScriptEditor& editor, Offer offer)
    : editor_(editor),
      offer_(std::move(offer)),
      completer_(new QCompleter(&editor)),
      words_(new QStringListModel(&editor)) {
  completer_->setModel(words_);
  completer_->setWidget(&editor);
  completer_->setCompletionMode(QCompleter::PopupCompletion);
  completer_->setMaxVisibleItems(12);
  completer_->popup()->setAccessibleName(QStringLiteral("Completions"));
  QObject::connect(completer_, QOverload<const QString&>::of(&QCompleter::activated), completer_,
                   [this](const QString& word) { Insert(word); });
}

QString CompletionPopup::Typed() const {
  const QTextCursor cursor = editor_.textCursor();
  return WordBefore(cursor.block().text(), cursor.positionInBlock());
}

void CompletionPopup::Update(bool asked) {
  const QString word = Typed();
  const bool wanted = asked || completer_->popup()->isVisible() ||
                      (word.size() >= kTypedBeforeOffer && !word[0].isDigit());
  if (editor_.isReadOnly() || !wanted ||
      (!asked && editor_.document()->characterCount() > kMostForOffers)) {
    completer_->popup()->hide();
    return;
  }
  const QStringList words = offer_(editor_.Text().left(editor_.textCursor().position()));
  if (words.isEmpty() || (words.size() == 1 && words[0] == word)) {
    completer_->popup()->hide();
    return;
  }
  if (asked && words.size() == 1) return Insert(words[0]);
  words_->setStringList(words);
  completer_->setCompletionPrefix(word);
  if (completer_->completionCount() == 0) {
    completer_->popup()->hide();
    return;
  }
  QAbstractItemView* const popup = completer_->popup();
  popup->setFont(editor_.font());
  popup->setCurrentIndex(asked ? completer_->completionModel()->index(0, 0) : QModelIndex());
  QRect area = editor_.cursorRect();
  area.translate(editor_.MarginWidth(), 0);
  area.setWidth(popup->sizeHintForColumn(0) + popup->verticalScrollBar()->sizeHint().width() + 16);
  completer_->complete(area);
}

void CompletionPopup::Insert(const QString& word) {
  QTextCursor cursor = editor_.textCursor();
  cursor.movePosition(QTextCursor::PreviousCharacter, QTextCursor::KeepAnchor,
                      static_cast<int>(Typed().size()));
  cursor.insertText(word);
  editor_.setTextCursor(cursor);
  completer_->popup()->hide();
}

bool CompletionPopup::TakesKey(QKeyEvent& event) {
  QAbstractItemView* const popup = completer_->popup();
  if (!popup->isVisible()) return false;
  switch (event.key()) {
    case Qt::Key_Tab: {
      const QModelIndex chosen = popup->currentIndex();
      Insert((chosen.isValid() ? chosen : popup->model()->index(0, 0))
                 .data(completer_->completionRole())
                 .toString());
      return true;
    }
    case Qt::Key_Enter:
    case Qt::Key_Return:
      // Words that nobody asked for and nobody chose do not take the end of the line.
      if (!popup->currentIndex().isValid()) {
        popup->hide();
        return false;
      }
      event.ignore();  // the popup takes it
      return true;
    case Qt::Key_Escape:
      event.ignore();
      return true;
    default:
      return false;
  }
}

void CompletionPopup::KeyPressed(const QKeyEvent& event) {
  const QString typed = event.text();
  if (!typed.isEmpty() && typed[0].isPrint()) return Update(false);
  if (!completer_->popup()->isVisible()) return;
  if (event.key() == Qt::Key_Backspace) {
    Update(false);
  } else if (!typed.isEmpty() || event.key() == Qt::Key_Left || event.key() == Qt::Key_Right) {
    completer_->popup()->hide();
  }
}

}  // namespace ui::ide_view
