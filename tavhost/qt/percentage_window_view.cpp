#include "tavhost/qt/percentage_window_view.h"

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QVBoxLayout>

#include "tavhost/qt/on_screen.h"
#include "tavhost/qt/shown_text.h"

namespace ui {

namespace {

constexpr int kColumns = 56;
constexpr int kBarSteps = 1000;
constexpr int kShowMilliseconds = 33;
constexpr int kClockMilliseconds = 500;
// No screen shows more.
constexpr qsizetype kMostCharacters = 1000;

// The first line, as much of it as fits.
void ShowElided(QLabel& label, const std::string& text) {
  QString line = Shown(std::string_view(text).substr(0, 4 * kMostCharacters));
  line.replace(QLatin1Char('\n'), QLatin1Char(' ')).replace(QLatin1Char('\r'), QLatin1Char(' '));
  line.truncate(kMostCharacters);
  label.setText(label.fontMetrics().elidedText(line, Qt::ElideMiddle, label.width()));
  label.setToolTip(label.text() == line ? QString() : line.toHtmlEscaped());
}

// A bar is called what its message says.
void NameBar(QProgressBar& bar, const std::string& message, const char* otherwise) {
  const QString name = message.empty()
                           ? QString::fromLatin1(otherwise)
                           : Shown(std::string_view(message).substr(0, kMostCharacters));
  if (bar.accessibleName() != name) bar.setAccessibleName(name);
}

void ShowBar(QProgressBar& bar, double percentage) {
  bar.setValue(static_cast<int>(percentage / 100 * kBarSteps));
  bar.setFormat(QStringLiteral("%1 %").arg(static_cast<int>(percentage)));
}

}  // namespace

PercentageWindowView::PercentageWindowView(PercentageWindowModel& model, QWidget* parent)
    : QWidget(parent, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint), model_(model) {
  setAttribute(Qt::WA_ShowWithoutActivating, !model_.HasCancelButton());
  if (model_.HasCancelButton()) {
    setWindowFlag(Qt::WindowCloseButtonHint);
    setFocusPolicy(Qt::StrongFocus);
  }
  auto* const layout = new QVBoxLayout(this);
  const int margin = fontMetrics().lineSpacing();
  layout->setContentsMargins(margin, margin, margin, margin);
  layout->setSpacing(margin / 3);
  message_ = MakeMessage("message");
  bar_ = MakeBar("percentage");
  layout->addWidget(message_);
  layout->addWidget(bar_);
  // The second message has its line where it has its bar; else it takes one when it is set.
  message2_ = MakeMessage("message2");
  layout->addSpacing(margin / 3);
  layout->addWidget(message2_);
  if (model_.HasSecondBar()) {
    bar2_ = MakeBar("percentage2");
    layout->addWidget(bar2_);
  }
  auto* const bottom = new QHBoxLayout;
  times_ = new QLabel;
  times_->setObjectName(QStringLiteral("times"));
  bottom->addWidget(times_, 1);
  if (model_.HasCancelButton()) {
    cancel_ = new QPushButton(QStringLiteral("&Cancel"));
    cancel_->setObjectName(QStringLiteral("cancel"));
    QObject::connect(cancel_, &QPushButton::clicked, this, [this] { Cancel(); });
    bottom->addWidget(cancel_);
  }
  layout->addStretch(1);
  layout->addSpacing(margin / 3);
  layout->addLayout(bottom);
  message2_->setVisible(bar2_ || !model_.message2.empty());
  setMinimumWidth(fontMetrics().averageCharWidth() * kColumns / 2);
  ResizeOnScreen(
      *this, QSize(fontMetrics().averageCharWidth() * kColumns + 2 * margin, sizeHint().height()));
  QObject::connect(&clock_, &QTimer::timeout, this, [this] { ShowNow(); });
  clock_.start(kClockMilliseconds);
  ShowNow();
}

QProgressBar* PercentageWindowView::MakeBar(const char* name) {
  auto* const bar = new QProgressBar;
  bar->setObjectName(QLatin1String(name));
  bar->setRange(0, kBarSteps);
  return bar;
}

QLabel* PercentageWindowView::MakeMessage(const char* name) {
  auto* const label = new QLabel;
  label->setObjectName(QLatin1String(name));
  label->setTextFormat(Qt::PlainText);
  label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
  return label;
}

void PercentageWindowView::Open() {
  show();
  if (!cancel_) return;
  raise();
  activateWindow();
  setFocus();
}

bool PercentageWindowView::ShowModel() {
  if (shown_.elapsed() < kShowMilliseconds) {
    if (clock_.interval() != kShowMilliseconds) clock_.start(kShowMilliseconds);
    return false;
  }
  ShowNow();
  return true;
}

void PercentageWindowView::ShowNow() {
  shown_.start();
  if (clock_.interval() != kClockMilliseconds) clock_.start(kClockMilliseconds);
  setWindowTitle(ShownTitle(model_.Title()));
  ShowElided(*message_, model_.message);
  ShowBar(*bar_, model_.Percentage());
  ShowElided(*message2_, model_.message2);
  message2_->setVisible(bar2_ || !model_.message2.empty());
  NameBar(*bar_, model_.message, "Progress");
  if (bar2_) {
    ShowBar(*bar2_, model_.Percentage2());
    NameBar(*bar2_, model_.message2, "Progress of the present part");
  }
  const auto now = PercentageWindowModel::Clock::now();
  QString times = QString::fromStdString(TimeText(model_.Elapsed(now)));
  if (const auto remaining = model_.Remaining(now)) {
    times +=
        QStringLiteral(" \u00B7 about %1 left").arg(QString::fromStdString(TimeText(*remaining)));
  }
  times_->setText(times);
  if (cancel_ && model_.IsCancelled() && cancel_->isEnabled()) {
    cancel_->setEnabled(false);
    cancel_->setText(QStringLiteral("Cancelling\u2026"));
  }
}

void PercentageWindowView::Cancel() {
  model_.Cancel();
  ShowNow();
}

// The window goes when the script says; closing it asks the script to.
void PercentageWindowView::closeEvent(QCloseEvent* event) {
  event->ignore();
  Cancel();
}

void PercentageWindowView::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape) {
    Cancel();
  } else {
    QWidget::keyPressEvent(event);
  }
}

void PercentageWindowView::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  ShowNow();
}

}  // namespace ui
