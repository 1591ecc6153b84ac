#include "tavhost/qt/find_bar.h"

#include <QCheckBox>
#include <QElapsedTimer>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QTextBlock>
#include <QVBoxLayout>
#include <algorithm>
#include <iterator>
#include <utility>

#include "tavhost/qt/ide/theme.h"
#include "tavhost/qt/wrapping_row.h"

namespace ui {

namespace {

// More are not counted.
constexpr qsizetype kMostFound = 5000;
constexpr int kPieceMilliseconds = 20;  // of looking, before the window is looked after again
constexpr int kMarkedAround = 200;      // lines above and below those in view

// The lines in view, and some around them.
std::pair<int, int> MarkedLines(const QPlainTextEdit& edit) {
  const QRect view = edit.viewport()->rect();
  const int first = edit.cursorForPosition(view.topLeft()).blockNumber();
  const int last = edit.cursorForPosition(view.bottomRight()).blockNumber();
  return {std::max(first - kMarkedAround, 0), last + kMarkedAround};
}

}  // namespace

FindBar::FindBar(Edit edit, Mark mark, QWidget* parent)
    : QFrame(parent),
      edit_(std::move(edit)),
      mark_(std::move(mark)),
      find_(new QLineEdit),
      replace_(new QLineEdit),
      matchCase_(new QCheckBox(QStringLiteral("&Match case"))),
      wholeWords_(new QCheckBox(QStringLiteral("&Whole words"))),
      expression_(new QCheckBox(QStringLiteral("Regular e&xpression"))),
      count_(new QLabel),
      replaceRow_(new QWidget) {
  setObjectName(QStringLiteral("findBar"));
  find_->setObjectName(QStringLiteral("find"));
  find_->setClearButtonEnabled(true);
  find_->setAccessibleName(QStringLiteral("Find"));
  replace_->setObjectName(QStringLiteral("replace"));
  replace_->setAccessibleName(QStringLiteral("Replace with"));
  count_->setMinimumWidth(fontMetrics().horizontalAdvance(QStringLiteral("0000 of 0000")));

  auto* const findLabel = new QLabel(QStringLiteral("F&ind:"));
  auto* const replaceLabel = new QLabel(QStringLiteral("Re&place:"));
  findLabel->setBuddy(find_);
  replaceLabel->setBuddy(replace_);
  const int labelWidth = std::max(findLabel->sizeHint().width(), replaceLabel->sizeHint().width());
  findLabel->setMinimumWidth(labelWidth);
  replaceLabel->setMinimumWidth(labelWidth);
  auto* const next = new QPushButton(QStringLiteral("&Next"));
  auto* const previous = new QPushButton(QStringLiteral("Previo&us"));
  auto* const replaceOne = new QPushButton(QStringLiteral("Replace &One"));
  auto* const replaceAll = new QPushButton(QStringLiteral("Replace &All"));
  auto* const close = new QPushButton(QStringLiteral("C&lose"));
  // In a dialog Enter is not to press one of them from elsewhere.
  for (QPushButton* button : {next, previous, replaceOne, replaceAll, close}) {
    button->setAutoDefault(false);
  }
  matchCase_->setObjectName(QStringLiteral("matchCase"));
  count_->setObjectName(QStringLiteral("findCount"));
  replaceOne->setObjectName(QStringLiteral("replaceOne"));
  replaceAll->setObjectName(QStringLiteral("replaceAll"));

  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(8, 4, 8, 4);
  layout->setSpacing(4);
  auto* const findRow = new QHBoxLayout;
  for (QWidget* widget :
       std::initializer_list<QWidget*>{findLabel, find_, count_, previous, next}) {
    findRow->addWidget(widget);
  }
  findRow->setStretchFactor(find_, 1);
  auto* const replaceLine = new QHBoxLayout(replaceRow_);
  replaceLine->setContentsMargins(0, 0, 0, 0);
  replaceLine->addWidget(replaceLabel);
  replaceLine->addWidget(replace_, 1);
  replaceLine->addWidget(replaceOne);
  replaceLine->addWidget(replaceAll);
  auto* const choices = new WrappingRow(WrappingRow::Wraps::kInWindow);
  for (QCheckBox* box : {matchCase_, wholeWords_, expression_}) choices->AddLeading(box);
  choices->Add(close);
  layout->addLayout(findRow);
  layout->addWidget(replaceRow_);
  layout->addWidget(choices);
  hide();

  marking_.setSingleShot(true);
  connect(&marking_, &QTimer::timeout, this, [this] { MarkInView(); });
  connect(&looking_, &QTimer::timeout, this, [this] { LookOn(); });
  connect(find_, &QLineEdit::textChanged, this, [this] { Refresh(); });
  connect(find_, &QLineEdit::textEdited, this,
          [this] { goes_ = findsWhileTyping_ && !find_->text().isEmpty(); });
  for (QCheckBox* box : {matchCase_, wholeWords_, expression_}) {
    connect(box, &QCheckBox::toggled, this, [this] { Refresh(); });
  }
  connect(next, &QPushButton::clicked, this, [this] { FindNext(false); });
  connect(previous, &QPushButton::clicked, this, [this] { FindNext(true); });
  connect(replaceOne, &QPushButton::clicked, this, [this] { Replace(); });
  connect(replaceAll, &QPushButton::clicked, this, [this] { ReplaceAll(); });
  connect(close, &QPushButton::clicked, this, [this] { Close(); });
}

void FindBar::Open(bool withReplace) {
  QPlainTextEdit* const editor = edit_();
  if (!editor) return;
  const QString selected = editor->textCursor().selectedText();
  if (!selected.isEmpty() && !selected.contains(QChar(QChar::ParagraphSeparator))) {
    find_->setText(selected);
  }
  replaceRow_->setVisible(withReplace && !editor->isReadOnly());
  show();
  find_->setFocus();
  find_->selectAll();
  Refresh();
}

void FindBar::Close() {
  hide();
  looking_.stop();
  if (QPlainTextEdit* const editor = edit_()) {
    mark_(*editor, {});
    editor->setFocus();
  }
}

QRegularExpression FindBar::Expression() const {
  QString pattern = find_->text();
  if (!expression_->isChecked()) pattern = QRegularExpression::escape(pattern);
  // Not `\b`, which is no boundary beside a sign: a word may end with one here, as in "a+".
  if (wholeWords_->isChecked()) pattern = QStringLiteral("(?<!\\w)(?:%1)(?!\\w)").arg(pattern);
  QRegularExpression expression(pattern);
  if (!matchCase_->isChecked()) {
    expression.setPatternOptions(QRegularExpression::CaseInsensitiveOption);
  }
  return expression;
}

// Lines are searched one by one; a match holds no line feed.
void FindBar::FindIn(const QTextBlock& block, const QRegularExpression& expression,
                     std::vector<Place>& found) {
  const QString text = block.text();
  QRegularExpressionMatchIterator matches = expression.globalMatch(text);
  while (matches.hasNext()) {
    const QRegularExpressionMatch match = matches.next();
    if (match.capturedLength() == 0) continue;
    found.push_back({block.position() + static_cast<int>(match.capturedStart()),
                     block.position() + static_cast<int>(match.capturedEnd())});
  }
}

QList<QTextCursor> FindBar::Cursors(QPlainTextEdit& editor, const std::vector<Place>& places) {
  QList<QTextCursor> cursors;
  for (const Place& place : places) {
    QTextCursor cursor(editor.document());
    cursor.setPosition(place.begin);
    cursor.setPosition(place.end, QTextCursor::KeepAnchor);
    cursors.append(cursor);
  }
  return cursors;
}

bool FindBar::Looks() const { return !find_->text().isEmpty() && Expression().isValid(); }

void FindBar::Refresh() {
  QPlainTextEdit* const editor = edit_();
  if (!isVisible() || !editor) return;
  disconnect(scrolled_);
  scrolled_ = connect(editor, &QPlainTextEdit::updateRequest, this, [this] {
    QPlainTextEdit* const shown = edit_();
    if (!shown || !isVisible()) return;
    const auto [first, last] = MarkedLines(*shown);
    // Beyond what is marked, by half of what is marked around the view.
    if (first + kMarkedAround / 2 < marked_.first || last - kMarkedAround / 2 > marked_.second) {
      marking_.start(0);
    }
  });
  found_.clear();
  next_ = Looks() ? 0 : -1;
  MarkInView();
  LookOn();
}

void FindBar::MarkInView() {
  QPlainTextEdit* const editor = edit_();
  if (!isVisible() || !editor) return;
  marked_ = MarkedLines(*editor);
  std::vector<Place> places;
  if (Looks()) {
    const QRegularExpression expression = Expression();
    QTextBlock block = editor->document()->findBlockByNumber(marked_.first);
    for (; block.isValid() && block.blockNumber() <= marked_.second; block = block.next()) {
      FindIn(block, expression, places);
      if (std::ssize(places) >= kMostFound) break;
    }
  }
  mark_(*editor, Cursors(*editor, places));
}

// A piece of the text; the next one when events that wait are done with.
void FindBar::LookOn() {
  QPlainTextEdit* const editor = edit_();
  if (!isVisible() || !editor) return looking_.stop();
  QElapsedTimer time;
  time.start();
  const QRegularExpression expression = Expression();
  QTextBlock block = next_ < 0 ? QTextBlock() : editor->document()->findBlockByNumber(next_);
  while (block.isValid() && std::ssize(found_) < kMostFound &&
         time.elapsed() < kPieceMilliseconds) {
    FindIn(block, expression, found_);
    block = block.next();
  }
  const bool isDone = !block.isValid() || std::ssize(found_) >= kMostFound;
  next_ = isDone ? -1 : block.blockNumber();
  if (std::ssize(found_) > kMostFound) found_.resize(kMostFound);
  if (isDone) {
    looking_.stop();
  } else if (!looking_.isActive()) {
    looking_.start(0);
  }
  if (goes_) GoToFirst(*editor, isDone);
  ShowCount();
}

// The first place behind where the user is, as soon as it is found; that place included, which
// more characters may fit.
void FindBar::GoToFirst(QPlainTextEdit& editor, bool isDone) {
  QTextCursor cursor = editor.textCursor();
  const auto at = std::lower_bound(found_.begin(), found_.end(), cursor.selectionStart(),
                                   [](const Place& place, int from) { return place.begin < from; });
  if (at == found_.end() && !isDone) return;
  goes_ = false;
  if (at != found_.end()) {
    editor.setTextCursor(Cursors(editor, {*at}).front());
  } else if (!found_.empty()) {
    FindNext(false);
  }
}

void FindBar::ShowCount() {
  QPlainTextEdit* const editor = edit_();
  if (find_->text().isEmpty()) return count_->clear();
  if (!Expression().isValid()) return count_->setText(QStringLiteral("not valid"));
  const bool looksOn = next_ >= 0;
  if (found_.empty()) {
    return count_->setText(looksOn ? QStringLiteral("\u2026") : QStringLiteral("not found"));
  }
  QString total = QString::number(found_.size());
  if (looksOn || std::ssize(found_) == kMostFound) total += QLatin1Char('+');
  const QTextCursor cursor = editor->textCursor();
  const Place place{cursor.selectionStart(), cursor.selectionEnd()};
  const auto at = std::lower_bound(found_.begin(), found_.end(), place,
                                   [](auto& a, auto& b) { return a.begin < b.begin; });
  if (at != found_.end() && at->begin == place.begin && at->end == place.end) {
    return count_->setText(QStringLiteral("%1 of %2").arg(at - found_.begin() + 1).arg(total));
  }
  count_->setText(QStringLiteral("%1 found").arg(total));
}

QTextCursor FindBar::FindFrom(QPlainTextEdit& editor, bool backwards) const {
  const QRegularExpression expression = Expression();
  if (find_->text().isEmpty() || !expression.isValid()) return QTextCursor();
  const QTextCursor present = editor.textCursor();
  const QTextBlock begin =
      editor.document()->findBlock(backwards ? present.selectionStart() : present.selectionEnd());
  // Once around: the line of the cursor comes first and, for what lies on its other side, last.
  QTextBlock block = begin;
  for (bool around = false;;) {
    const bool isLast = around && block == begin;
    QTextCursor target;
    QRegularExpressionMatchIterator matches = expression.globalMatch(block.text());
    while (matches.hasNext()) {
      const QRegularExpressionMatch match = matches.next();
      if (match.capturedLength() == 0) continue;
      const int from = block.position() + static_cast<int>(match.capturedStart());
      const int to = block.position() + static_cast<int>(match.capturedEnd());
      const bool isAhead =
          backwards ? to <= present.selectionStart() : from >= present.selectionEnd();
      if (block == begin && !isLast && !isAhead) continue;
      target = QTextCursor(block);
      target.setPosition(from);
      target.setPosition(to, QTextCursor::KeepAnchor);
      if (!backwards) break;
    }
    if (!target.isNull() || isLast) return target;
    block = backwards ? block.previous() : block.next();
    if (!block.isValid()) {
      block = backwards ? editor.document()->lastBlock() : editor.document()->begin();
    }
    around = true;
  }
}

bool FindBar::FindNext(bool backwards) {
  QPlainTextEdit* const editor = edit_();
  if (!editor) return false;
  if (find_->text().isEmpty() && !isVisible()) {
    Open(false);
    return false;
  }
  const bool isKnownNowhere = isVisible() && next_ < 0 && found_.empty();
  const QTextCursor target = isKnownNowhere ? QTextCursor() : FindFrom(*editor, backwards);
  if (!target.isNull()) editor->setTextCursor(target);
  ShowCount();
  return !target.isNull();
}

QString FindBar::Replacement(const QString& found) const {
  if (!expression_->isChecked()) return replace_->text();
  return QString(found).replace(Expression(), replace_->text());
}

bool FindBar::Replace() {
  QPlainTextEdit* const editor = edit_();
  if (!editor || editor->isReadOnly()) return false;
  QTextCursor cursor = editor->textCursor();
  std::vector<Place> found;
  const QTextBlock line = editor->document()->findBlock(cursor.selectionStart());
  if (Looks()) FindIn(line, Expression(), found);
  const bool atOne = std::any_of(found.begin(), found.end(), [&cursor](const Place& one) {
    return one.begin == cursor.selectionStart() && one.end == cursor.selectionEnd();
  });
  if (!atOne) return FindNext(false);
  cursor.insertText(Replacement(cursor.selectedText()));
  editor->setTextCursor(cursor);
  FindNext(false);
  Refresh();
  return true;
}

int FindBar::ReplaceAll() {
  QPlainTextEdit* const editor = edit_();
  if (!editor || editor->isReadOnly()) return 0;
  int count = 0;
  QTextCursor all(editor->document());
  all.beginEditBlock();
  std::vector<Place> found;
  const QRegularExpression expression = Expression();
  QTextBlock block = Looks() ? editor->document()->begin() : QTextBlock();
  for (; block.isValid(); block = block.next()) FindIn(block, expression, found);
  for (QTextCursor one : Cursors(*editor, found)) {
    one.insertText(Replacement(one.selectedText()));
    ++count;
  }
  all.endEditBlock();
  Refresh();
  count_->setText(QStringLiteral("%1 replaced").arg(count));
  return count;
}

void FindBar::keyPressEvent(QKeyEvent* event) {
  switch (event->key()) {
    case Qt::Key_Escape:
      return Close();
    case Qt::Key_Return:
    case Qt::Key_Enter:
      if (auto* const button = qobject_cast<QPushButton*>(focusWidget())) {
        button->click();
      } else if (replace_->hasFocus()) {
        Replace();
      } else {
        FindNext((event->modifiers() & Qt::ShiftModifier) != 0);
      }
      return;
    default:
      QFrame::keyPressEvent(event);
  }
}

void MarkFound(QPlainTextEdit& edit, const QList<QTextCursor>& found) {
  QList<QTextEdit::ExtraSelection> selections;
  for (const QTextCursor& one : found) {
    QTextEdit::ExtraSelection selection;
    selection.cursor = one;
    selection.format.setBackground(ide_view::ColoursFor(edit.palette()).found);
    selections.append(selection);
  }
  edit.setExtraSelections(selections);
}

}  // namespace ui
