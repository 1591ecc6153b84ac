#include "tavhost/qt/ide/script_editor.h"

#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QTextBlock>
#include <QToolTip>
#include <algorithm>
#include <utility>

#include "tavhost/ide/script_tokens.h"
#include "tavhost/qt/ide/completion_popup.h"
#include "tavhost/qt/ide/line_edits.h"
#include "tavhost/qt/ide/script_highlighter.h"
#include "tavhost/qt/ide/theme.h"
#include "tavhost/qt/ide/utf16.h"
#include "tavhost/qt/ide/words.h"
#include "tavhost/qt/shown_text.h"

namespace ui::ide_view {

namespace {

// In a longer text, in characters, the partner of a bracket is no longer looked for at each step of
// the cursor.
constexpr int kMostForBrackets = 2'000'000;

class Breakpoint final : public QTextBlockUserData {};

int LineOf(const base::Diagnostic& mark) { return static_cast<int>(mark.line); }
bool IsHint(const base::Diagnostic& mark) { return mark.severity == base::Severity::kHint; }
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
      completion_(std::make_unique<CompletionPopup>(*this, help_.complete)) {
  setObjectName(QStringLiteral("editor"));
  setAccessibleName(QStringLiteral("Script"));
  setLineWrapMode(QPlainTextEdit::NoWrap);
  setFrameShape(QFrame::NoFrame);
  setLayoutDirection(Qt::LeftToRight);  // as scripts are, on every desktop
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

void ScriptEditor::Complete() { completion_->Update(true); }

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
    painter.drawText(0, top, margin_->width() - digit, height, Qt::AlignRight | Qt::AlignAbsolute,
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
  if (document()->characterCount() < kMostForBrackets) {
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

void ScriptEditor::keyPressEvent(QKeyEvent* event) {
  if (completion_->TakesKey(*event)) return;
  const Qt::KeyboardModifiers modifiers = event->modifiers();
  if (!isReadOnly()) {
    switch (event->key()) {
      case Qt::Key_Return:
      case Qt::Key_Enter:
        if ((modifiers & ~(Qt::KeypadModifier | Qt::ShiftModifier)) == 0) return BreakLine(*this);
        break;
      case Qt::Key_Tab:
        if (modifiers != Qt::NoModifier) break;
        if (textCursor().hasSelection()) return ChangeIndent(*this, true);
        textCursor().insertText(QString(
            kIndentColumns - textCursor().positionInBlock() % kIndentColumns, QLatin1Char(' ')));
        return;
      case Qt::Key_Backtab:
        return ChangeIndent(*this, false);
      case Qt::Key_BraceRight:
      case Qt::Key_ParenRight:
      case Qt::Key_BracketRight:
        if (event->text().size() == 1) return CloseBracket(*this, event->text());
        break;
      default:
        break;
    }
  }
  if (event->key() == Qt::Key_Home && (modifiers & ~Qt::ShiftModifier) == 0) {
    return MoveToLineStart(modifiers & Qt::ShiftModifier ? QTextCursor::KeepAnchor
                                                         : QTextCursor::MoveAnchor);
  }
  QPlainTextEdit::keyPressEvent(event);
  completion_->KeyPressed(*event);
}

// To the first character that is no blank, and from there to the line's very start.
void ScriptEditor::MoveToLineStart(QTextCursor::MoveMode mode) {
  QTextCursor cursor = textCursor();
  const QString line = cursor.block().text();
  int text = 0;
  while (text < line.size() && line[text].isSpace()) ++text;
  const int target = cursor.positionInBlock() == text ? 0 : text;
  cursor.setPosition(cursor.block().position() + target, mode);
  setTextCursor(cursor);
}

}  // namespace ui::ide_view
