#include "tavhost/qt/ide/script_editor.h"

#include <QAbstractItemView>
#include <QCompleter>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QStringListModel>
#include <QTextBlock>
#include <QToolTip>
#include <algorithm>
#include <utility>

#include "tavhost/ide/script_text.h"
#include "tavhost/ide/script_tokens.h"
#include "tavhost/qt/ide/script_highlighter.h"
#include "tavhost/qt/ide/theme.h"
#include "tavhost/qt/ide/utf16.h"
#include "tavhost/qt/shown_text.h"

namespace ui::ide_view {

namespace {

constexpr int kIndentColumns = 4;
// Offered unasked only behind so much of a word: less would cover what is being read.
constexpr qsizetype kTypedBeforeOffer = 2;
// Beyond, matching brackets and words to complete are no longer looked for while typing.
constexpr int kMostForScans = 2'000'000;

bool IsWordPart(QChar c) {
  return (c.unicode() < 0x80 && c.isLetterOrNumber()) || c == QLatin1Char('_');
}

class Breakpoint final : public QTextBlockUserData {};

int LineOf(const base::Diagnostic& mark) { return static_cast<int>(mark.line); }
bool IsHint(const base::Diagnostic& mark) { return mark.severity == base::Severity::kHint; }

// The word around `at`, `-` included where more of it follows.
std::pair<int, int> WordAround(const QString& line, int at) {
  const auto isPart = [&line](int i) {
    if (i < 0 || i >= line.size()) return false;
    if (IsWordPart(line[i])) return true;
    return line[i] == QLatin1Char('-') && i > 0 && IsWordPart(line[i - 1]) && i + 1 < line.size() &&
           IsWordPart(line[i + 1]);
  };
  int begin = at;
  int end = at;
  while (isPart(begin - 1)) --begin;
  while (isPart(end)) ++end;
  return {begin, end};
}

}  // namespace

QString ShownMessage(const base::Diagnostic& diagnostic) {
  return (IsHint(diagnostic) ? QStringLiteral("Hint: ") : QString()) + Shown(diagnostic.message);
}

class ScriptEditor::Margin final : public QWidget {
 public:
  explicit Margin(ScriptEditor& editor) : QWidget(&editor), editor_(editor) {}
  QSize sizeHint() const override { return {editor_.MarginWidth(), 0}; }

 protected:
  void paintEvent(QPaintEvent* event) override { editor_.PaintMargin(event); }
  void mousePressEvent(QMouseEvent* event) override {
    if (event->button() == Qt::LeftButton) editor_.ClickMargin(event->pos().y());
  }

 private:
  ScriptEditor& editor_;
};

ScriptEditor::ScriptEditor(EditorHelp help, QWidget* parent)
    : QPlainTextEdit(parent),
      help_(std::move(help)),
      margin_(new Margin(*this)),
      highlighter_(new ScriptHighlighter(document(), help_.isCommand)),
      completer_(new QCompleter(this)),
      words_(new QStringListModel(this)) {
  setObjectName(QStringLiteral("editor"));
  setAccessibleName(QStringLiteral("Script"));
  setLineWrapMode(QPlainTextEdit::NoWrap);
  setFrameShape(QFrame::NoFrame);
  completer_->setModel(words_);
  completer_->setWidget(this);
  completer_->setCompletionMode(QCompleter::PopupCompletion);
  completer_->setMaxVisibleItems(12);
  completer_->popup()->setAccessibleName(QStringLiteral("Completions"));
  connect(completer_, QOverload<const QString&>::of(&QCompleter::activated), this,
          [this](const QString& word) { InsertCompletion(word); });
  connect(this, &QPlainTextEdit::blockCountChanged, this, [this] { UpdateMargin(); });
  connect(this, &QPlainTextEdit::updateRequest, this, [this](const QRect& area, int dy) {
    if (dy != 0) {
      margin_->scroll(0, dy);
    } else {
      margin_->update(0, area.y(), margin_->width(), area.height());
    }
  });
  connect(this, &QPlainTextEdit::cursorPositionChanged, this, [this] { ShowSelections(); });
  highlighter_->SetPalette(palette());
  UpdateMargin();
  ShowSelections();
}

ScriptEditor::~ScriptEditor() = default;

QString ScriptEditor::Text() const {
  QString text = document()->toRawText();
  text.replace(QChar(QChar::ParagraphSeparator), QLatin1Char('\n'));
  return text;
}

void ScriptEditor::SetText(const QString& text) {
  setPlainText(text);
  document()->setModified(false);
}

int ScriptEditor::Line() const { return textCursor().blockNumber() + 1; }

int ScriptEditor::Column() const {
  const QTextCursor cursor = textCursor();
  return static_cast<int>(
             QStringView(cursor.block().text()).left(cursor.positionInBlock()).toUcs4().size()) +
         1;
}

void ScriptEditor::GoTo(int line, int column) {
  const QTextBlock block =
      document()->findBlockByNumber(std::clamp(line, 1, document()->blockCount()) - 1);
  const QString text = block.text();
  int at = 0;
  for (int i = 1; i < column && at < text.size(); ++i) {
    at += text[at].isHighSurrogate() && at + 1 < text.size() ? 2 : 1;
  }
  QTextCursor cursor(block);
  cursor.setPosition(block.position() + at);
  setTextCursor(cursor);
  centerCursor();
}

QString ScriptEditor::WordAtCursor() const {
  const QTextCursor cursor = textCursor();
  const QString line = cursor.block().text();
  const auto [begin, end] = WordAround(line, cursor.positionInBlock());
  return line.mid(begin, end - begin);
}

void ScriptEditor::SetMarks(std::vector<base::Diagnostic> marks) {
  marks_ = std::move(marks);
  ShowSelections();
  margin_->update();
}

void ScriptEditor::SetStepLine(int line) {
  stepLine_ = line;
  ShowSelections();
  margin_->update();
}

void ScriptEditor::ToggleBreakpoint(int line) {
  QTextBlock block = document()->findBlockByNumber(line - 1);
  if (!block.isValid()) return;
  block.setUserData(block.userData() ? nullptr : new Breakpoint);
  margin_->update();
}

bool ScriptEditor::HasBreakpoint(int line) const {
  return document()->findBlockByNumber(line - 1).userData() != nullptr;
}

bool ScriptEditor::HasBreakpoints() const {
  for (QTextBlock block = document()->begin(); block.isValid(); block = block.next()) {
    if (block.userData()) return true;
  }
  return false;
}

void ScriptEditor::ClickMargin(int y) {
  ToggleBreakpoint(cursorForPosition(QPoint(0, y)).blockNumber() + 1);
}

void ScriptEditor::SetFound(const QList<QTextCursor>& found) {
  found_ = found;
  ShowSelections();
}

int ScriptEditor::MarginWidth() const {
  const auto digits = std::max<qsizetype>(3, QString::number(blockCount()).size());
  const int digit = fontMetrics().horizontalAdvance(QLatin1Char('9'));
  return static_cast<int>(digits) * digit + 3 * digit;
}

void ScriptEditor::UpdateMargin() {
  setViewportMargins(MarginWidth(), 0, 0, 0);
  const QRect area = contentsRect();
  margin_->setGeometry(area.left(), area.top(), MarginWidth(), area.height());
  setTabStopDistance(fontMetrics().horizontalAdvance(QLatin1Char(' ')) * kIndentColumns);
}

void ScriptEditor::PaintMargin(QPaintEvent* event) {
  const Colours& colours = ColoursFor(palette());
  QPainter painter(margin_);
  painter.fillRect(event->rect(), colours.margin);
  painter.setRenderHint(QPainter::Antialiasing);
  const int current = textCursor().blockNumber();
  const int digit = fontMetrics().horizontalAdvance(QLatin1Char('9'));
  QTextBlock block = firstVisibleBlock();
  QRectF area = blockBoundingGeometry(block).translated(contentOffset());
  for (; block.isValid() && area.top() <= event->rect().bottom(); block = block.next()) {
    area = blockBoundingGeometry(block).translated(contentOffset());
    if (!block.isVisible() || area.bottom() < event->rect().top()) continue;
    const int number = block.blockNumber() + 1;
    const int height = fontMetrics().height();
    const int top = static_cast<int>(area.top());
    const base::Diagnostic* mark = nullptr;  // of the line; a mistake before a hint
    for (const base::Diagnostic& one : marks_) {
      if (LineOf(one) == number && (!mark || IsHint(*mark))) mark = &one;
    }
    const bool wrong = mark && !IsHint(*mark);
    if (wrong) painter.fillRect(0, top, margin_->width(), height, colours.errorLine);
    painter.setPen(wrong                            ? colours.error
                   : block.blockNumber() == current ? palette().color(QPalette::Text)
                                                    : colours.lineNumber);
    painter.drawText(0, top, margin_->width() - digit, height, Qt::AlignRight,
                     QString::number(number));
    const QRectF sign(digit * 0.4, top + height * 0.25, height * 0.5, height * 0.5);
    if (mark) {
      painter.setPen(Qt::NoPen);
      painter.setBrush(wrong ? colours.error : colours.hint);
      painter.drawEllipse(sign);
    }
    if (block.userData()) {
      painter.setPen(Qt::NoPen);
      painter.setBrush(colours.command);
      painter.drawRoundedRect(sign.adjusted(-1, -1, 1, 1), 2, 2);
    }
    if (number == stepLine_) {
      painter.setPen(Qt::NoPen);
      painter.setBrush(colours.hint);
      painter.drawPolygon(
          QPolygonF({sign.topLeft(), QPointF(sign.right(), sign.center().y()), sign.bottomLeft()}));
    }
  }
}

void ScriptEditor::ShowSelections() {
  const Colours& colours = ColoursFor(palette());
  QList<QTextEdit::ExtraSelection> selections;
  const auto addLine = [&](const QTextCursor& cursor, const QColor& colour) {
    QTextEdit::ExtraSelection line;
    line.cursor = cursor;
    line.cursor.clearSelection();
    line.format.setBackground(colour);
    line.format.setProperty(QTextFormat::FullWidthSelection, true);
    selections.append(line);
  };
  addLine(textCursor(), colours.currentLine);
  for (const base::Diagnostic& mark : marks_) {
    const QTextBlock block = document()->findBlockByNumber(LineOf(mark) - 1);
    if (!block.isValid()) continue;
    if (!IsHint(mark)) addLine(QTextCursor(block), colours.errorLine);
    QTextEdit::ExtraSelection wave;
    wave.cursor = QTextCursor(block);
    const QString text = block.text();
    const int at = std::min<int>(std::max(static_cast<int>(mark.column) - 1, 0),
                                 static_cast<int>(text.size()));
    auto [begin, end] = WordAround(text, at);
    if (begin == end) end = std::min<int>(begin + 1, static_cast<int>(text.size()));
    wave.cursor.setPosition(block.position() + begin);
    wave.cursor.setPosition(block.position() + end, QTextCursor::KeepAnchor);
    wave.format.setUnderlineStyle(QTextCharFormat::WaveUnderline);
    wave.format.setUnderlineColor(IsHint(mark) ? colours.hint : colours.error);
    selections.append(wave);
  }
  if (stepLine_ > 0) {
    const QTextBlock block = document()->findBlockByNumber(stepLine_ - 1);
    if (block.isValid()) addLine(QTextCursor(block), colours.stepLine);
  }
  for (const QTextCursor& found : std::as_const(found_)) {
    QTextEdit::ExtraSelection selection;
    selection.cursor = found;
    selection.format.setBackground(colours.found);
    selections.append(selection);
  }
  if (document()->characterCount() < kMostForScans) {
    const int position = textCursor().position();
    for (const int at : {position, position - 1}) {
      const QChar here = at < 0 ? QChar() : document()->characterAt(at);
      if (!QStringLiteral("()[]{}").contains(here) || here.isNull()) continue;
      const QString text = Text();
      const auto partner = ide::MatchingBracket(Utf16(text), static_cast<std::size_t>(at));
      if (!partner) continue;
      for (const int place : {at, static_cast<int>(*partner)}) {
        QTextEdit::ExtraSelection bracket;
        bracket.cursor = textCursor();
        bracket.cursor.setPosition(place);
        bracket.cursor.setPosition(place + 1, QTextCursor::KeepAnchor);
        bracket.format.setBackground(colours.bracket);
        bracket.format.setFontWeight(QFont::Bold);
        selections.append(bracket);
      }
      break;
    }
  }
  setExtraSelections(selections);
}

bool ScriptEditor::event(QEvent* event) {
  if (event->type() == QEvent::ToolTip) {
    auto* const help = static_cast<QHelpEvent*>(event);
    ShowTip(viewport()->mapFrom(this, help->pos()), help->globalPos());
    return true;
  }
  return QPlainTextEdit::event(event);
}

void ScriptEditor::ShowTip(const QPoint& position, const QPoint& globalPosition) {
  const QTextCursor cursor = cursorForPosition(position);
  for (const base::Diagnostic& mark : marks_) {
    if (LineOf(mark) == cursor.blockNumber() + 1) {
      return QToolTip::showText(globalPosition, ShownMessage(mark).toHtmlEscaped(), this);
    }
  }
  const QString line = cursor.block().text();
  const auto [begin, end] = WordAround(line, cursor.positionInBlock());
  const QString text = begin == end ? QString() : help_.explain(line.mid(begin, end - begin));
  QToolTip::showText(globalPosition, text, this);
}

void ScriptEditor::changeEvent(QEvent* event) {
  QPlainTextEdit::changeEvent(event);
  if (event->type() == QEvent::PaletteChange) {
    const bool modified = document()->isModified();
    highlighter_->SetPalette(palette());
    document()->setModified(modified);
    ShowSelections();
  } else if (event->type() == QEvent::FontChange) {
    UpdateMargin();
  }
}

void ScriptEditor::resizeEvent(QResizeEvent* event) {
  QPlainTextEdit::resizeEvent(event);
  UpdateMargin();
}

bool ScriptEditor::KeyOfPopup(QKeyEvent* event) {
  QAbstractItemView* const popup = completer_->popup();
  if (!popup->isVisible()) return false;
  switch (event->key()) {
    case Qt::Key_Tab: {
      const QModelIndex chosen = popup->currentIndex();
      InsertCompletion((chosen.isValid() ? chosen : popup->model()->index(0, 0))
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
      event->ignore();  // the popup takes it
      return true;
    case Qt::Key_Escape:
      event->ignore();
      return true;
    default:
      return false;
  }
}

void ScriptEditor::keyPressEvent(QKeyEvent* event) {
  if (KeyOfPopup(event)) return;
  const Qt::KeyboardModifiers modifiers = event->modifiers();
  if (!isReadOnly()) {
    switch (event->key()) {
      case Qt::Key_Return:
      case Qt::Key_Enter:
        if ((modifiers & ~(Qt::KeypadModifier | Qt::ShiftModifier)) == 0) return BreakLine();
        break;
      case Qt::Key_Tab:
        if (modifiers != Qt::NoModifier) break;
        if (textCursor().hasSelection()) return ChangeIndent(true);
        textCursor().insertText(QString(
            kIndentColumns - textCursor().positionInBlock() % kIndentColumns, QLatin1Char(' ')));
        return;
      case Qt::Key_Backtab:
        return ChangeIndent(false);
      case Qt::Key_BraceRight:
      case Qt::Key_ParenRight:
      case Qt::Key_BracketRight:
        if (event->text().size() == 1) return CloseBracket(event->text());
        break;
      default:
        break;
    }
  }
  const bool moved = event->key() == Qt::Key_Home && (modifiers & ~Qt::ShiftModifier) == 0;
  if (moved) {
    // To the first character that is no blank, and from there to the line's start.
    QTextCursor cursor = textCursor();
    const QString line = cursor.block().text();
    int text = 0;
    while (text < line.size() && line[text].isSpace()) ++text;
    const int target = cursor.positionInBlock() == text ? 0 : text;
    cursor.setPosition(cursor.block().position() + target, modifiers & Qt::ShiftModifier
                                                               ? QTextCursor::KeepAnchor
                                                               : QTextCursor::MoveAnchor);
    setTextCursor(cursor);
    return;
  }
  QPlainTextEdit::keyPressEvent(event);
  const QString typed = event->text();
  if (!typed.isEmpty() && typed[0].isPrint()) {
    UpdatePopup(false);
  } else if (completer_->popup()->isVisible()) {
    if (event->key() == Qt::Key_Backspace) {
      UpdatePopup(false);
    } else if (!typed.isEmpty() || event->key() == Qt::Key_Left || event->key() == Qt::Key_Right) {
      completer_->popup()->hide();
    }
  }
}

void ScriptEditor::BreakLine() {
  QTextCursor cursor = textCursor();
  cursor.beginEditBlock();
  cursor.removeSelectedText();
  const QString before = cursor.block().text().left(cursor.positionInBlock());
  const QString after = cursor.block().text().mid(cursor.positionInBlock());
  const std::u16string step(kIndentColumns, u' ');
  const std::u16string indent = ide::IndentBehind(Utf16(before), step);
  cursor.insertText(QLatin1Char('\n') + FromUtf16(indent));
  const QString rest = after.trimmed();
  const bool closes = !rest.isEmpty() && QStringLiteral("})]").contains(rest[0]);
  if (closes && !before.isEmpty() && QStringLiteral("{([").contains(before.back())) {
    // The closing bracket gets a line of its own behind the new one.
    const int position = cursor.position();
    const std::u16string outer = ide::IndentBehind(Utf16(before), u"");
    cursor.insertText(QLatin1Char('\n') + FromUtf16(outer));
    cursor.setPosition(position);
  }
  cursor.endEditBlock();
  setTextCursor(cursor);
  ensureCursorVisible();
}

void ScriptEditor::CloseBracket(const QString& bracket) {
  QTextCursor cursor = textCursor();
  cursor.beginEditBlock();
  cursor.insertText(bracket);
  const QString before = cursor.block().text().left(cursor.positionInBlock() - 1);
  if (ide::IsBlank(Utf16(before)) && !before.isEmpty()) {
    const QString text = Text();
    const auto partner =
        ide::MatchingBracket(Utf16(text), static_cast<std::size_t>(cursor.position() - 1));
    if (partner) {
      const QString opening = document()->findBlock(static_cast<int>(*partner)).text();
      int blanks = 0;
      while (blanks < opening.size() && opening[blanks].isSpace()) ++blanks;
      QTextCursor line(cursor.block());
      line.setPosition(cursor.block().position() + static_cast<int>(before.size()),
                       QTextCursor::KeepAnchor);
      line.insertText(opening.left(blanks));
    }
  }
  cursor.endEditBlock();
  setTextCursor(cursor);
}

QString ScriptEditor::WordBeforeCursor() const {
  const QTextCursor cursor = textCursor();
  const QString line = cursor.block().text();
  int begin = cursor.positionInBlock();
  while (begin > 0 && (IsWordPart(line[begin - 1]) || line[begin - 1] == QLatin1Char('-'))) --begin;
  return line.mid(begin, cursor.positionInBlock() - begin);
}

void ScriptEditor::Complete() { UpdatePopup(true); }

void ScriptEditor::UpdatePopup(bool asked) {
  const QString word = WordBeforeCursor();
  const bool wanted = asked || completer_->popup()->isVisible() ||
                      (word.size() >= kTypedBeforeOffer && !word[0].isDigit());
  if (isReadOnly() || !wanted || (!asked && document()->characterCount() > kMostForScans)) {
    completer_->popup()->hide();
    return;
  }
  const QStringList words = help_.complete(Text().left(textCursor().position()));
  if (words.isEmpty() || (words.size() == 1 && words[0] == word)) {
    completer_->popup()->hide();
    return;
  }
  if (asked && words.size() == 1) return InsertCompletion(words[0]);
  words_->setStringList(words);
  completer_->setCompletionPrefix(word);
  if (completer_->completionCount() == 0) {
    completer_->popup()->hide();
    return;
  }
  QAbstractItemView* const popup = completer_->popup();
  popup->setFont(font());
  popup->setCurrentIndex(asked ? completer_->completionModel()->index(0, 0) : QModelIndex());
  QRect area = cursorRect();
  area.translate(MarginWidth(), 0);
  area.setWidth(popup->sizeHintForColumn(0) + popup->verticalScrollBar()->sizeHint().width() + 16);
  completer_->complete(area);
}

void ScriptEditor::InsertCompletion(const QString& word) {
  QTextCursor cursor = textCursor();
  cursor.movePosition(QTextCursor::PreviousCharacter, QTextCursor::KeepAnchor,
                      static_cast<int>(WordBeforeCursor().size()));
  cursor.insertText(word);
  setTextCursor(cursor);
  completer_->popup()->hide();
}

void ScriptEditor::InsertCommand(const QString& text) {
  QTextCursor cursor = textCursor();
  cursor.beginEditBlock();
  const QString line = cursor.block().text();
  const bool blank = ide::IsBlank(Utf16(line));
  if (!cursor.hasSelection() && !blank) {
    cursor.movePosition(QTextCursor::EndOfBlock);
    int blanks = 0;
    while (blanks < line.size() && line[blanks].isSpace()) ++blanks;
    cursor.insertText(QLatin1Char('\n') + line.left(blanks));
  }
  const int begin = cursor.position();
  cursor.insertText(text);
  // The first value is what is typed next.
  const qsizetype value = text.indexOf(QLatin1String("\"\""));
  if (value >= 0) cursor.setPosition(begin + static_cast<int>(value) + 1);
  cursor.endEditBlock();
  setTextCursor(cursor);
  setFocus();
}

// From the first line's start to the last line's end, of all lines that the selection touches.
QTextCursor ScriptEditor::SelectedLines() const {
  QTextCursor lines = textCursor();
  const int begin = lines.selectionStart();
  int end = lines.selectionEnd();
  if (end > begin && document()->findBlock(end).position() == end) --end;
  lines.setPosition(document()->findBlock(begin).position());
  const QTextBlock last = document()->findBlock(end);
  lines.setPosition(last.position() + last.length() - 1, QTextCursor::KeepAnchor);
  return lines;
}

void ScriptEditor::ToggleComment() {
  if (isReadOnly()) return;
  QTextCursor lines = SelectedLines();
  QStringList texts = lines.selectedText().split(QChar(QChar::ParagraphSeparator));
  const bool all = std::all_of(texts.begin(), texts.end(), [](const QString& text) {
    return text.trimmed().isEmpty() || text.trimmed().startsWith(QLatin1Char('#'));
  });
  for (QString& text : texts) {
    if (text.trimmed().isEmpty()) continue;
    qsizetype at = 0;
    while (text[at].isSpace()) ++at;
    if (!all) {
      text.insert(at, QLatin1String("# "));
    } else {
      text.remove(at, text.mid(at, 2) == QLatin1String("# ") ? 2 : 1);
    }
  }
  ReplaceLines(lines, texts);
}

// What was selected stays so.
void ScriptEditor::ReplaceLines(QTextCursor lines, const QStringList& texts) {
  const int begin = lines.selectionStart();
  const bool hadSelection = textCursor().hasSelection();
  const QString joined = texts.join(QLatin1Char('\n'));
  lines.insertText(joined);
  if (!hadSelection) return;
  lines.setPosition(begin);
  lines.setPosition(begin + static_cast<int>(joined.size()), QTextCursor::KeepAnchor);
  setTextCursor(lines);
}

void ScriptEditor::ChangeIndent(bool deeper) {
  if (isReadOnly()) return;
  QTextCursor lines = SelectedLines();
  QStringList texts = lines.selectedText().split(QChar(QChar::ParagraphSeparator));
  for (QString& text : texts) {
    if (deeper) {
      if (!text.isEmpty()) text.insert(0, QString(kIndentColumns, QLatin1Char(' ')));
      continue;
    }
    for (int i = 0; i < kIndentColumns && !text.isEmpty(); ++i) {
      if (text[0] == QLatin1Char('\t')) {
        text.remove(0, 1);
        break;
      }
      if (text[0] != QLatin1Char(' ')) break;
      text.remove(0, 1);
    }
  }
  ReplaceLines(lines, texts);
}

void ScriptEditor::DuplicateLines() {
  if (isReadOnly()) return;
  QTextCursor lines = SelectedLines();
  const QString text =
      lines.selectedText().replace(QChar(QChar::ParagraphSeparator), QLatin1Char('\n'));
  lines.setPosition(lines.selectionEnd());
  lines.insertText(QLatin1Char('\n') + text);
  setTextCursor(lines);
}

void ScriptEditor::MoveLines(bool up) {
  if (isReadOnly()) return;
  QTextCursor lines = SelectedLines();
  const QTextBlock first = document()->findBlock(lines.selectionStart());
  const QTextBlock last = document()->findBlock(lines.selectionEnd());
  const QTextBlock other = up ? first.previous() : last.next();
  if (!other.isValid()) return;
  const QString moved =
      lines.selectedText().replace(QChar(QChar::ParagraphSeparator), QLatin1Char('\n'));
  const QString passed = other.text();
  QTextCursor both(document());
  const int begin = std::min(first.position(), other.position());
  const QTextBlock end = up ? last : other;
  const int endPosition = end.position() + end.length() - 1;
  both.beginEditBlock();
  both.setPosition(begin);
  both.setPosition(endPosition, QTextCursor::KeepAnchor);
  both.insertText(up ? moved + QLatin1Char('\n') + passed : passed + QLatin1Char('\n') + moved);
  both.endEditBlock();
  const int at = up ? begin : begin + static_cast<int>(passed.size()) + 1;
  both.setPosition(at);
  both.setPosition(at + static_cast<int>(moved.size()), QTextCursor::KeepAnchor);
  setTextCursor(both);
}

}  // namespace ui::ide_view
