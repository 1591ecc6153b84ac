#include "tavhost/qt/message_box_view.h"

#include <QClipboard>
#include <QFontMetrics>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QPushButton>
#include <QShortcut>
#include <algorithm>

#include "tavhost/qt/message_icon.h"
#include "tavhost/qt/on_screen.h"
#include "tavhost/qt/shown_text.h"
#include "tavhost/qt/text_block.h"

namespace ui {

namespace {

constexpr int kMostLines = 18;    // of more the rest is scrolled to
constexpr int kTextColumns = 68;  // about what reads well in one line
constexpr int kTitleRoom = 8;     // in lines' heights: the frame's own buttons beside the title

}  // namespace

MessageBoxView::MessageBoxView(MessageBoxModel& model, QWidget* parent)
    : ModalView(model, std::make_unique<QDialog>(parent)) {
  auto* const icon = new MessageIcon(model.Message());
  const int iconSize = icon->width();

  auto* const text = new TextBlock(kTextColumns, kMostLines, Qt::AlignLeading | Qt::AlignVCenter);
  text->SetText(Shown(model.Text()));
  auto* const row = new QHBoxLayout;
  row->setSpacing(iconSize / 2);
  row->addWidget(icon, 0, Qt::AlignTop);
  row->addWidget(text, 1);

  QDialogButtonBox* const buttons = MakeButtons();
  auto* const column = new QVBoxLayout(&Dialog());
  column->setSpacing(iconSize / 2);
  column->addStrut(TitleWidth());
  column->addLayout(row, 1);
  column->addWidget(buttons);
  if (auto* const button =
          buttons->findChild<QPushButton*>(QString::fromStdString(model.DefaultButton()))) {
    button->setFocus();
  }
  // Where a part of the text is selected in a text that has the focus, that part is copied instead.
  auto* const copy = new QShortcut(QKeySequence::Copy, &Dialog());
  QObject::connect(copy, &QShortcut::activated, this,
                   [&model] { QGuiApplication::clipboard()->setText(Shown(model.Text())); });
}

// Wide enough for a title that is not long beyond a line of text.
int MessageBoxView::TitleWidth() {
  QFont font = Dialog().font();
  font.setBold(true);
  const QFontMetrics metrics(font);
  const int title = metrics.horizontalAdvance(Dialog().windowTitle());
  const int most = Dialog().fontMetrics().averageCharWidth() * kTextColumns;
  return std::min(
      {title + kTitleRoom * metrics.lineSpacing(), most, MostOnScreen(Dialog()).width() / 2});
}

}  // namespace ui
