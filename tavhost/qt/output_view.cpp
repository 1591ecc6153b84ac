#include "tavhost/qt/output_view.h"

#include <QFontDatabase>
#include <QScrollBar>
#include <QTextBlock>
#include <algorithm>

#include "tavhost/qt/modal_view.h"
#include "tavhost/qt/shown_text.h"

namespace ui {

namespace {

constexpr int kFlushMilliseconds = 16;  // a frame of most screens

bool IsContinuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

// Bytes at the end that need what follows them: the start of a character, and a CR, which may
// belong to a line feed.
std::size_t UnfinishedBytes(std::string_view text) {
  if (text.empty()) return 0;
  if (text.back() == '\r') return 1;
  std::size_t length = 1;
  while (length < 4 && length < text.size() && IsContinuation(text[text.size() - length])) {
    ++length;
  }
  const auto first = static_cast<unsigned char>(text[text.size() - length]);
  const std::size_t needed = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : first >= 0xC0 ? 2 : 1;
  return length < needed ? length : 0;
}

// With line feeds alone where a block of the document ends, so that blocks are lines.
QString ShownLines(std::string_view text) {
  QString shown = Shown(text);
  shown.replace(QLatin1String("\r\n"), QLatin1String("\n"));
  for (QChar& character : shown) {
    switch (character.unicode()) {
      case '\r':
      case 0x2029:
        character = QChar::LineSeparator;
        break;
      case 0xFDD0:
      case 0xFDD1:
        character = QChar::ReplacementCharacter;
        break;
      default:
        break;
    }
  }
  return shown;
}

}  // namespace

OutputView::OutputView(TextModel& model) : model_(model) {
  setAccessibleName(QStringLiteral("Output"));
  setReadOnly(true);
  setUndoRedoEnabled(false);
  setLineWrapMode(QPlainTextEdit::NoWrap);
  setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  setFont(ChosenFont(QFontDatabase::systemFont(QFontDatabase::FixedFont), model_));
  setMinimumSize(fontMetrics().averageCharWidth() * 8, fontMetrics().lineSpacing() * 2);
  flush_.setSingleShot(true);
  flush_.setInterval(kFlushMilliseconds);
  QObject::connect(&flush_, &QTimer::timeout, this, [this] { Flush(); });
  model_.AddObserver(*this);
  ShowAll();
  ScrollToSelection();
}

OutputView::~OutputView() { model_.RemoveObserver(*this); }

void OutputView::TextChanged(TextModel&) {
  if (!flush_.isActive()) flush_.start();
}

void OutputView::Flush() {
  flush_.stop();
  // A selection of the user's stays, and the place that is looked at with it.
  const bool keepsPlace = textCursor().hasSelection();
  const int horizontal = horizontalScrollBar()->value();
  const int vertical = verticalScrollBar()->value();
  if (version_ != model_.Version() || end_ < model_.Begin()) {
    ShowAll();
  } else {
    DropLines(model_.DroppedLines() - droppedLines_);
    Append();
  }
  if (showRequests_ == model_.ShowRequests()) return;
  if (keepsPlace) {
    showRequests_ = model_.ShowRequests();
    verticalScrollBar()->setValue(vertical);
  } else {
    ScrollToSelection();
  }
  horizontalScrollBar()->setValue(horizontal);
}

void OutputView::ShowAll() {
  version_ = model_.Version();
  droppedLines_ = model_.DroppedLines();
  const std::string_view text = model_.Text();
  const std::size_t unfinished = UnfinishedBytes(text);
  end_ = model_.End() - unfinished;
  setPlainText(ShownLines(text.substr(0, text.size() - unfinished)));
}

void OutputView::DropLines(std::uint64_t count) {
  droppedLines_ = model_.DroppedLines();
  if (count == 0) return;
  QTextCursor cursor(document());
  cursor.movePosition(QTextCursor::NextBlock, QTextCursor::KeepAnchor, static_cast<int>(count));
  cursor.removeSelectedText();
}

void OutputView::Append() {
  std::string_view added = model_.Since(end_);
  added.remove_suffix(UnfinishedBytes(added));
  if (added.empty()) return;
  end_ += added.size();
  QTextCursor cursor(document());
  cursor.movePosition(QTextCursor::End);
  cursor.insertText(ShownLines(added));
}

// Up and down only: the start of the lines stays in view.
void OutputView::ScrollToSelection() {
  showRequests_ = model_.ShowRequests();
  const std::string_view text = model_.Text();
  const long to = model_.SelectionTo();
  const std::size_t place = to < 0 ? 0 : std::min(static_cast<std::size_t>(to), text.size());
  QTextBlock block = document()->lastBlock();
  for (const char byte : text.substr(place)) {
    if (byte == '\n' && block.previous().isValid()) block = block.previous();
  }
  setTextCursor(QTextCursor(block));
  ensureCursorVisible();
}

}  // namespace ui
