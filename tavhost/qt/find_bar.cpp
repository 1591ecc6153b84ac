#include "tavhost/qt/find_bar.h"

#include <QCheckBox>
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
#include <utility>

#include "tavhost/qt/ide/theme.h"

namespace ui {

namespace {

// More are neither counted nor marked.
constexpr int kMostFound = 5000;

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
  auto* const choices = new QHBoxLayout;
  choices->addSpacing(labelWidth + findRow->spacing());
  for (QCheckBox* box : {matchCase_, wholeWords_, expression_}) choices->addWidget(box);
  choices->addStretch(1);
  choices->addWidget(close);
  layout->addLayout(findRow);
  layout->addWidget(replaceRow_);
  layout->addLayout(choices);
  hide();

  connect(find_, &QLineEdit::textChanged, this, [this] { Refresh(); });
  connect(find_, &QLineEdit::textEdited, this, [this] {
    QPlainTextEdit* const edited = edit_();
    if (!findsWhileTyping_ || !edited || find_->text().isEmpty()) return;
    QTextCursor cursor = edited->textCursor();
    cursor.setPosition(cursor.selectionStart());
    edited->setTextCursor(cursor);
    FindNext(false);
  });
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

QList<QTextCursor> FindBar::FindAll(QPlainTextEdit& editor, qsizetype most) const {
  QList<QTextCursor> found;
  const QRegularExpression expression = Expression();
  if (find_->text().isEmpty() || !expression.isValid()) return found;
  // Lines are searched one by one; a match holds no line feed.
  for (QTextBlock block = editor.document()->begin(); block.isValid(); block = block.next()) {
    const QString text = block.text();
    QRegularExpressionMatchIterator matches = expression.globalMatch(text);
    while (matches.hasNext()) {
      const QRegularExpressionMatch match = matches.next();
      if (match.capturedLength() == 0) continue;
      QTextCursor cursor(block);
      cursor.setPosition(block.position() + static_cast<int>(match.capturedStart()));
      cursor.setPosition(block.position() + static_cast<int>(match.capturedEnd()),
                         QTextCursor::KeepAnchor);
      found.append(cursor);
      if (found.size() == most) return found;
    }
  }
  return found;
}

void FindBar::Refresh() {
  QPlainTextEdit* const editor = edit_();
  if (!isVisible() || !editor) return;
  mark_(*editor, FindAll(*editor, kMostFound));
  ShowCount();
}

void FindBar::ShowCount() {
  QPlainTextEdit* const editor = edit_();
  const QList<QTextCursor> found = FindAll(*editor, kMostFound);
  if (find_->text().isEmpty()) return count_->clear();
  const QRegularExpression expression = Expression();
  if (!expression.isValid()) {
    return count_->setText(QStringLiteral("not valid"));
  }
  if (found.isEmpty()) return count_->setText(QStringLiteral("not found"));
  const QString total = found.size() == kMostFound ? QStringLiteral("%1+").arg(kMostFound)
                                                   : QString::number(found.size());
  for (qsizetype i = 0; i < found.size(); ++i) {
    if (found[i].selectionStart() == editor->textCursor().selectionStart() &&
        found[i].selectionEnd() == editor->textCursor().selectionEnd()) {
      return count_->setText(QStringLiteral("%1 of %2").arg(i + 1).arg(total));
    }
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
  const QTextCursor target = FindFrom(*editor, backwards);
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
  const QList<QTextCursor> found = FindAll(*editor, kMostFound);
  const bool atOne = std::any_of(found.begin(), found.end(), [&cursor](const QTextCursor& one) {
    return one.selectionStart() == cursor.selectionStart() &&
           one.selectionEnd() == cursor.selectionEnd();
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
  const QList<QTextCursor> found = FindAll(*editor, -1);
  for (QTextCursor one : found) {
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
