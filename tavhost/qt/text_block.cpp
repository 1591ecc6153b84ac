#include "tavhost/qt/text_block.h"

#include <QFontMetrics>
#include <QScreen>
#include <QScrollBar>
#include <QVBoxLayout>
#include <algorithm>

#include "tavhost/qt/shown_text.h"
#include "tavhost/qt/text_direction.h"

namespace ui {

namespace {

// A text of more characters scrolls without being measured.
constexpr qsizetype kMostMeasured = 4000;
constexpr int kLeastLines = 3;    // of what scrolls
constexpr int kLeastColumns = 8;  // of what scrolls in a window with a width of its own

bool HasWordWiderThan(const QFontMetrics& metrics, const QString& text, int width) {
  qsizetype begin = 0;
  for (qsizetype i = 0; i <= text.size(); ++i) {
    if (i < text.size() && !text[i].isSpace()) continue;
    if (metrics.horizontalAdvance(text.mid(begin, i - begin)) > width) return true;
    begin = i + 1;
  }
  return false;
}

}  // namespace

// As high as its text, as far as it is to be seen at once.
class TextBlock::Scrolled final : public QPlainTextEdit {
 public:
  Scrolled() {
    setObjectName(QStringLiteral("scrolledText"));
    setReadOnly(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setTabChangesFocus(true);
    setFrameShape(QFrame::NoFrame);
    viewport()->setAutoFillBackground(false);
    setAccessibleName(QStringLiteral("Message"));
    StandInOwnDirection(*this);
  }

  void Show(const QString& text, int width, int leastWidth, int mostLines) {
    setLineWrapMode(HasHugeLine(text) ? QPlainTextEdit::NoWrap : QPlainTextEdit::WidgetWidth);
    if (toPlainText() != text) setPlainText(text);
    const int line = fontMetrics().lineSpacing();
    const int margins = static_cast<int>(2 * document()->documentMargin()) + 2;
    const QRect bounds = fontMetrics().boundingRect(QRect(0, 0, width, 1 << 20),
                                                    Qt::TextWordWrap | Qt::TextWrapAnywhere,
                                                    text.left(kMostMeasured));
    const int lines = std::clamp((bounds.height() + line - 1) / line, 1, mostLines);
    const int bar = verticalScrollBar()->sizeHint().width();
    hint_ = QSize(width + margins + bar, lines * line + margins);
    least_ = QSize(leastWidth, std::min(lines, kLeastLines) * line + margins);
    updateGeometry();
  }

  QSize sizeHint() const override { return hint_; }
  QSize minimumSizeHint() const override { return least_; }

 private:
  QSize hint_;
  QSize least_;
};

TextBlock::TextBlock(int columns, int lines, Qt::Alignment alignment, Width width, QWidget* parent)
    : QWidget(parent), columns_(columns), lines_(lines), width_(width), label_(new QLabel) {
  label_->setTextFormat(Qt::PlainText);
  label_->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  label_->setWordWrap(true);
  label_->setAlignment(alignment);
  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(label_);
}

int TextBlock::MostLines() const {
  const int half = screen()->availableGeometry().height() / 2;
  return std::max(kLeastLines, std::min(lines_, half / fontMetrics().lineSpacing()));
}

void TextBlock::SetText(const QString& text) {
  text_ = text;
  const QFontMetrics metrics = label_->fontMetrics();
  const int width = fontMetrics().averageCharWidth() * columns_;
  if (text.size() <= kMostMeasured && !HasWordWiderThan(metrics, text, width)) {
    const QRect bounds = metrics.boundingRect(QRect(0, 0, width, 1 << 20), Qt::TextWordWrap, text);
    if (bounds.height() <= MostLines() * metrics.lineSpacing()) return ShowInFull(bounds);
  }
  ShowScrolled();
}

// A label that wraps gives no width of its own: as wide as its longest line.
void TextBlock::ShowInFull(const QRect& bounds) {
  label_->setText(text_);
  if (width_ == Width::kOfText) label_->setMinimumWidth(bounds.width() + 2);
  label_->show();
  if (scrolled_) scrolled_->hide();
}

void TextBlock::ShowScrolled() {
  if (!scrolled_) {
    scrolled_ = new Scrolled;
    layout()->addWidget(scrolled_);
    setTabOrder(label_, scrolled_);  // where the text stands, not behind all else
  }
  label_->clear();
  label_->hide();
  const int column = fontMetrics().averageCharWidth();
  const int least = width_ == Width::kOfText ? column * columns_ / 2 : column * kLeastColumns;
  scrolled_->Show(text_, column * columns_, least, MostLines());
  scrolled_->show();
}

}  // namespace ui
