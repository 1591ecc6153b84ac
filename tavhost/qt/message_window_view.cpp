#include "tavhost/qt/message_window_view.h"

#include <QScreen>
#include <QVBoxLayout>
#include <algorithm>

#include "tavhost/qt/shown_text.h"

namespace ui {

namespace {

constexpr int kLeastColumns = 36;
constexpr int kMostColumns = 80;
// No screen shows more.
constexpr qsizetype kMostCharacters = 4000;

}  // namespace

MessageWindowView::MessageWindowView(const MessageWindowModel& model, QWidget* parent)
    : QWidget(parent, Qt::Tool | Qt::CustomizeWindowHint | Qt::WindowTitleHint),
      model_(model),
      label_(new QLabel) {
  setAttribute(Qt::WA_ShowWithoutActivating);
  label_->setObjectName(QStringLiteral("message"));
  label_->setTextFormat(Qt::PlainText);
  label_->setWordWrap(true);
  label_->setAlignment(Qt::AlignCenter);
  auto* const layout = new QVBoxLayout(this);
  const int margin = fontMetrics().lineSpacing();
  layout->setContentsMargins(margin, margin, margin, margin);
  layout->addWidget(label_);
  ShowModel();
}

void MessageWindowView::ShowModel() {
  setWindowTitle(ShownTitle(model_.Title()));
  QString text = Shown(model_.text);
  if (text.size() > kMostCharacters) {
    text.truncate(kMostCharacters);
    text += QChar(0x2026);
  }
  label_->setText(text);
  const int column = fontMetrics().averageCharWidth();
  const QRect bounds = fontMetrics().boundingRect(QRect(0, 0, column * kMostColumns, 1 << 20),
                                                  Qt::TextWordWrap, text);
  label_->setMinimumWidth(std::max(column * kLeastColumns, bounds.width() + 2));
  const QSize before = size();
  const QSize wanted = sizeHint().boundedTo(screen()->availableSize());
  // It grows with its text and does not shrink under the user's eyes.
  resize(isVisible() ? before.expandedTo(wanted) : wanted);
}

}  // namespace ui
