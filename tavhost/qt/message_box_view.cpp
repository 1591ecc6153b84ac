#include "tavhost/qt/message_box_view.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QStyle>

#include "tavhost/qt/shown_text.h"

namespace ui {

namespace {

// From here on a text scrolls; shorter ones stand in full.
constexpr int kMostLines = 18;
constexpr qsizetype kMostCharacters = 1500;
constexpr int kTextColumns = 68;  // about what reads well in one line

QStyle::StandardPixmap IconOf(MessageKind kind) {
  switch (kind) {
    case MessageKind::kInfo:
      return QStyle::SP_MessageBoxInformation;
    case MessageKind::kQuery:
      return QStyle::SP_MessageBoxQuestion;
    case MessageKind::kError:
      return QStyle::SP_MessageBoxCritical;
    case MessageKind::kWarning:
      return QStyle::SP_MessageBoxWarning;
  }
  return QStyle::SP_MessageBoxInformation;
}

bool IsLong(const QString& text) {
  return text.size() > kMostCharacters || text.count(QLatin1Char('\n')) >= kMostLines;
}

// Whether a word is so long that no line can hold it: a label would grow with it.
bool HasLongWord(const QString& text) {
  qsizetype length = 0;
  for (const QChar c : text) {
    length = c.isSpace() ? 0 : length + 1;
    if (length > kTextColumns) return true;
  }
  return false;
}

}  // namespace

MessageBoxView::MessageBoxView(MessageBoxModel& model, QWidget* parent)
    : ModalView(model, std::make_unique<QDialog>(parent)) {
  auto* const icon = new QLabel;
  const int iconSize = Dialog().style()->pixelMetric(QStyle::PM_MessageBoxIconSize);
  icon->setPixmap(Dialog().style()->standardIcon(IconOf(model.Message())).pixmap(iconSize));
  icon->setAccessibleName(ShownTitle(model.Title()));

  auto* const row = new QHBoxLayout;
  row->setSpacing(iconSize / 2);
  row->addWidget(icon, 0, Qt::AlignTop);
  row->addWidget(MakeText(model), 1);

  QDialogButtonBox* const buttons = MakeButtons();
  auto* const column = new QVBoxLayout(&Dialog());
  column->setSpacing(iconSize / 2);
  column->addLayout(row, 1);
  column->addWidget(buttons);
  if (auto* const button =
          buttons->findChild<QPushButton*>(QString::fromStdString(model.DefaultButton()))) {
    button->setFocus();
  }
}

QWidget* MessageBoxView::MakeText(const MessageBoxModel& model) {
  const QString text = Shown(model.Text());
  const int column = Dialog().fontMetrics().averageCharWidth();
  if (IsLong(text) || HasLongWord(text)) {
    auto* const edit = new QPlainTextEdit;
    if (HasHugeLine(text)) edit->setLineWrapMode(QPlainTextEdit::NoWrap);
    edit->setPlainText(text);
    edit->setReadOnly(true);
    edit->setTabChangesFocus(true);
    edit->setFrameShape(QFrame::NoFrame);
    edit->viewport()->setAutoFillBackground(false);
    edit->setAccessibleName(QStringLiteral("Message"));
    edit->setMinimumWidth(column * kTextColumns);
    edit->setMinimumHeight(Dialog().fontMetrics().lineSpacing() * (IsLong(text) ? kMostLines : 6));
    return edit;
  }
  auto* const label = new QLabel(text);
  label->setTextFormat(Qt::PlainText);
  label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  label->setWordWrap(true);
  label->setAlignment(Qt::AlignLeading | Qt::AlignVCenter);
  // A label that wraps gives no width of its own: as wide as its longest line, up to a readable
  // width.
  const QRect bounds = label->fontMetrics().boundingRect(
      QRect(0, 0, column * kTextColumns, 1 << 20), Qt::TextWordWrap, text);
  label->setMinimumWidth(bounds.width() + 2);
  return label;
}

}  // namespace ui
