#include "tavhost/qt/text_box_view.h"

#include <QHBoxLayout>
#include <QPushButton>
#include <QShortcut>
#include <QTextBlock>
#include <QTextDocument>
#include <QToolButton>

#include "tavhost/qt/shown_text.h"

namespace ui {

namespace {

constexpr long kColumns = 80;
constexpr long kLines = 24;
constexpr int kTabColumns = 8;

}  // namespace

TextBoxView::TextBoxView(TextBoxModel& model, QWidget* parent)
    : ModalView(model, std::make_unique<QDialog>(parent)),
      box_(model),
      edit_(new QPlainTextEdit),
      findRow_(MakeFindRow()) {
  edit_->setFont(ChosenFont(edit_->font(), model));
  edit_->setReadOnly(!model.IsEditable());
  edit_->setTextInteractionFlags(edit_->textInteractionFlags() | Qt::TextSelectableByKeyboard);
  edit_->setTabChangesFocus(!model.IsFileEditor() || !model.IsEditable());
  edit_->setAccessibleName(QStringLiteral("Text"));
  edit_->setObjectName(QStringLiteral("text"));
  const QFontMetrics metrics(edit_->font());
  edit_->setTabStopDistance(metrics.horizontalAdvance(QLatin1Char(' ')) * kTabColumns);

  auto* const bottom = new QHBoxLayout;
  if (model.IsFileEditor()) {
    place_ = new QLabel;
    place_->setObjectName(QStringLiteral("place"));
    bottom->addWidget(place_);
    QObject::connect(edit_, &QPlainTextEdit::cursorPositionChanged, this,
                     [this] { ShowCursorPlace(); });
  }
  bottom->addStretch(1);
  bottom->addWidget(MakeButtons());

  auto* const layout = new QVBoxLayout(&Dialog());
  layout->addWidget(edit_, 1);
  layout->addWidget(findRow_);
  layout->addLayout(bottom);
  const QFontMetrics own(Dialog().font());
  Dialog().setSizeGripEnabled(true);
  if (!model.size) {
    model.size = SV::Size(own.averageCharWidth() * kColumns, own.lineSpacing() * kLines);
  }

  auto* const find = new QShortcut(QKeySequence::Find, &Dialog());
  QObject::connect(find, &QShortcut::activated, this, [this] { ShowFindRow(); });
  ShowModel();
  edit_->setFocus();
}

QWidget* TextBoxView::MakeFindRow() {
  auto* const row = new QWidget;
  auto* const layout = new QHBoxLayout(row);
  layout->setContentsMargins(0, 0, 0, 0);
  findText_ = new QLineEdit;
  findText_->setObjectName(QStringLiteral("find"));
  findText_->setAccessibleName(QStringLiteral("Find"));
  findText_->setClearButtonEnabled(true);
  auto* const label = new QLabel(QStringLiteral("&Find:"));
  label->setBuddy(findText_);
  auto* const previous = new QToolButton;
  previous->setArrowType(Qt::UpArrow);
  previous->setToolTip(QStringLiteral("Previous"));
  auto* const next = new QToolButton;
  next->setArrowType(Qt::DownArrow);
  next->setToolTip(QStringLiteral("Next"));
  findResult_ = new QLabel;
  layout->addWidget(label);
  layout->addWidget(findText_, 1);
  layout->addWidget(previous);
  layout->addWidget(next);
  layout->addWidget(findResult_);
  row->hide();
  QObject::connect(findText_, &QLineEdit::textEdited, this, [this] {
    QTextCursor cursor = edit_->textCursor();
    cursor.setPosition(cursor.selectionStart());
    edit_->setTextCursor(cursor);
    Find(false);
  });
  QObject::connect(previous, &QToolButton::clicked, this, [this] { Find(true); });
  QObject::connect(next, &QToolButton::clicked, this, [this] { Find(false); });
  // Enter in the field looks further instead of pressing the dialog's default button.
  auto* const enter = new QShortcut(QKeySequence(Qt::Key_Return), findText_);
  enter->setContext(Qt::WidgetShortcut);
  QObject::connect(enter, &QShortcut::activated, this, [this] { Find(false); });
  auto* const hide = new QShortcut(QKeySequence(Qt::Key_Escape), findText_);
  hide->setContext(Qt::WidgetShortcut);
  QObject::connect(hide, &QShortcut::activated, this, [this] {
    findRow_->hide();
    edit_->setFocus();
  });
  return row;
}

void TextBoxView::ShowFindRow() {
  findRow_->show();
  findText_->setFocus();
  findText_->selectAll();
}

// Goes on at the other end when nothing is found.
void TextBoxView::Find(bool backwards) {
  findResult_->clear();
  if (findText_->text().isEmpty()) return;
  const QTextDocument::FindFlags flags =
      backwards ? QTextDocument::FindBackward : QTextDocument::FindFlags();
  if (edit_->find(findText_->text(), flags)) return;
  const QTextCursor before = edit_->textCursor();
  edit_->moveCursor(backwards ? QTextCursor::End : QTextCursor::Start);
  if (edit_->find(findText_->text(), flags)) return;
  edit_->setTextCursor(before);
  findResult_->setText(QStringLiteral("Not found"));
}

void TextBoxView::ShowCursorPlace() {
  const QTextCursor cursor = edit_->textCursor();
  place_->setText(QStringLiteral("Line %1, column %2")
                      .arg(cursor.blockNumber() + 1)
                      .arg(cursor.positionInBlock() + 1));
}

void TextBoxView::ShowModel() {
  const QString text = Editable(box_.text);
  const bool wraps = !box_.IsFileEditor() && !HasHugeLine(text);
  edit_->setLineWrapMode(wraps ? QPlainTextEdit::WidgetWidth : QPlainTextEdit::NoWrap);
  edit_->setPlainText(text);
  edit_->document()->setModified(false);
  if (place_) ShowCursorPlace();
}

// What was not touched stays byte for byte. A text that had CR LF line ends keeps them.
void TextBoxView::ReadModel() {
  if (!box_.IsEditable() || !edit_->document()->isModified()) return;
  const bool hasReturns = box_.text.find("\r\n") != std::string::npos;
  // The raw text, as the plain one has no-break spaces replaced.
  QString text = edit_->document()->toRawText();
  const QString lineEnd = hasReturns ? QStringLiteral("\r\n") : QStringLiteral("\n");
  text.replace(QChar::ParagraphSeparator, lineEnd);
  box_.text = Bytes(text);
}

}  // namespace ui
