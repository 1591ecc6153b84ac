#include "tavhost/qt/result_tool_view.h"

#include <QTimer>
#include <QVBoxLayout>

#include "tavhost/qt/shown_text.h"

namespace ui {

ResultToolView::ResultToolView(ResultToolModel& model)
    : model_(model),
      shown_(model.Current() ? model.Current() : &nothing_),
      place_(new QLabel),
      bar_(new WrappingRow(WrappingRow::Wraps::kInWindow)),
      panel_(new TablePanel(*shown_, false)) {
  using Button = ResultToolModel;
  const auto make = [this](ResultToolModel::Button which, const char* label, const char* name) {
    buttons_[which] = MakeButton(which, QString::fromUtf8(label), name);
    return buttons_[which];
  };
  bar_->AddLeading(make(Button::kPrevious, "‹ Previous", "previous"));
  bar_->AddLeading(make(Button::kNext, "Next ›", "next"));
  bar_->AddLeading(place_);
  bar_->Add(make(Button::kSearch, "Search", "show search"));
  bar_->Add(make(Button::kSave, "Save…", "save"));
  bar_->Add(make(Button::kPrint, "Print…", "print"));
  bar_->Add(make(Button::kClose, "Close", "close"));
  place_->setObjectName(QStringLiteral("place"));
  const auto connect = [this](ResultToolModel::Button which, auto act) {
    QObject::connect(buttons_[which], &QToolButton::clicked, this, act);
  };
  connect(Button::kPrevious, [this] { model_.GoTo(model_.CurrentIndex() - 1); });
  connect(Button::kNext, [this] { model_.GoTo(model_.CurrentIndex() + 1); });
  connect(Button::kClose, [this] { model_.CloseCurrent(); });
  connect(Button::kSave, [this] { panel_->Save(Title()); });
  connect(Button::kPrint, [this] { panel_->Print(Title()); });
  connect(Button::kSearch, [this] { panel_->ShowSearchBar(!panel_->IsSearchBarShown()); });

  auto* const whole = new QVBoxLayout(this);
  whole->setContentsMargins(4, 4, 4, 4);
  whole->addWidget(bar_);
  whole->addWidget(panel_, 1);
  model_.AddObserver(*this);
  UpdateButtons();
}

ResultToolView::~ResultToolView() { model_.RemoveObserver(*this); }

void ResultToolView::focusInEvent(QFocusEvent* event) { panel_->View().setFocus(event->reason()); }

QToolButton* ResultToolView::MakeButton(ResultToolModel::Button which, const QString& label,
                                        const char* name) {
  auto* const button = new QToolButton;
  button->setObjectName(QLatin1String(name));
  button->setText(label);
  button->setAutoRaise(true);
  button->setFocusPolicy(Qt::TabFocus);
  button->setVisible(model_.ShowsButton(which));
  return button;
}

QString ResultToolView::Title() const {
  return Shown(shown_->header.empty() ? model_.Title() : shown_->header);
}

// The old table may be gone already: nothing of it is touched.
void ResultToolView::ResultsChanged(ResultToolModel&) {
  TableModel* const current = model_.Current() ? model_.Current() : &nothing_;
  if (current != shown_) {
    shown_ = current;
    panel_->SetTable(*shown_);
  }
  UpdateButtons();
}

void ResultToolView::ButtonsChanged(ResultToolModel&) { UpdateButtons(); }

// A script changes the columns one by one; they are shown once.
void ResultToolView::LookChanged(ResultToolModel&) {
  if (isRefreshDue_) return;
  isRefreshDue_ = true;
  QTimer::singleShot(0, this, [this] {
    isRefreshDue_ = false;
    panel_->ShowTable();
  });
}

void ResultToolView::UpdateButtons() {
  bool any = false;
  for (int i = 0; i < ResultToolModel::kButtonCount; ++i) {
    const bool shows = model_.ShowsButton(static_cast<ResultToolModel::Button>(i));
    buttons_[i]->setVisible(shows);
    buttons_[i]->setEnabled(model_.Count() > 0);
    any |= shows;
  }
  buttons_[ResultToolModel::kPrevious]->setEnabled(model_.CurrentIndex() > 0);
  buttons_[ResultToolModel::kNext]->setEnabled(model_.CurrentIndex() + 1 < model_.Count());
  place_->setText(
      model_.Count() < 2
          ? QString()
          : QStringLiteral("%1 of %2").arg(model_.CurrentIndex() + 1).arg(model_.Count()));
  place_->setVisible(model_.Count() > 1);
  bar_->setVisible(any || model_.Count() > 1);
}

}  // namespace ui
