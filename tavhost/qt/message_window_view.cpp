#include "tavhost/qt/message_window_view.h"

#include <QScreen>
#include <QVBoxLayout>
#include <algorithm>

#include "tavhost/qt/on_screen.h"
#include "tavhost/qt/shown_text.h"

namespace ui {

namespace {

constexpr int kLeastColumns = 36;
constexpr int kMostColumns = 80;
constexpr int kMostLines = 30;
// Nobody reads more in a window that does not wait.
constexpr qsizetype kMostCharacters = 100'000;

}  // namespace

MessageWindowView::MessageWindowView(const MessageWindowModel& model, QWidget* parent)
    : QWidget(parent,
              Qt::Tool | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint),
      model_(model),
      text_(new TextBlock(kMostColumns, kMostLines, Qt::AlignCenter)) {
  setAttribute(Qt::WA_ShowWithoutActivating);
  text_->Label().setObjectName(QStringLiteral("message"));
  auto* const layout = new QVBoxLayout(this);
  const int margin = fontMetrics().lineSpacing();
  layout->setContentsMargins(margin, margin, margin, margin);
  layout->addStrut(fontMetrics().averageCharWidth() * kLeastColumns);
  layout->addWidget(text_);
  ShowModel();
}

void MessageWindowView::Open() {
  const QRect around =
      parentWidget() ? parentWidget()->frameGeometry() : screen()->availableGeometry();
  MoveOnScreen(*this, around.center() - rect().center());
  show();
}

void MessageWindowView::ShowModel() {
  setWindowTitle(ShownTitle(model_.Title()));
  QString text = Shown(model_.text);
  if (text.size() > kMostCharacters) {
    text.truncate(kMostCharacters);
    text += QChar(0x2026);
  }
  text_->SetText(text);
  // It grows with its text and does not shrink under the user's eyes.
  const QSize before = size();
  QSize wanted = isVisible() ? before.expandedTo(QSize(sizeHint().width(), 0)) : sizeHint();
  const QLayout& all = *layout();
  // A text that wraps needs less height in a wider window than it would like by itself.
  wanted.setHeight(std::max(
      isVisible() ? before.height() : 0,
      all.hasHeightForWidth() ? all.totalHeightForWidth(wanted.width()) : sizeHint().height()));
  ResizeOnScreen(*this, wanted);
  if (isVisible() && size() != before) MoveOnScreen(*this, pos());
}

}  // namespace ui
