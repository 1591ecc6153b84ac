#include "tavhost/qt/modal_view.h"

#include <QApplication>
#include <QEvent>
#include <QFileDialog>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QResizeEvent>
#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

#include "tavhost/qt/accelerators.h"
#include "tavhost/qt/on_screen.h"
#include "tavhost/qt/shown_text.h"
#include "tavhost/qt/text_direction.h"

namespace ui {

namespace {

constexpr int kMostPoints = 400;  // larger than any screen shows

QDialogButtonBox::ButtonRole RoleOf(const std::string& name) {
  if (name == "yes") return QDialogButtonBox::YesRole;
  if (name == "no") return QDialogButtonBox::NoRole;
  if (name == kCancelButton) return QDialogButtonBox::RejectRole;
  return QDialogButtonBox::AcceptRole;
}

// The usual labels have their usual letters; the others get one of those that are left.
bool IsUsual(const std::string& label) {
  static constexpr std::string_view kUsual[] = {"OK",   "Yes",  "No",     "Retry", "Cancel",
                                                "Open", "Save", "Choose", "Close"};
  return std::find(std::begin(kUsual), std::end(kUsual), label) != std::end(kUsual);
}

bool IsKeyEvent(QEvent::Type type) {
  return type == QEvent::KeyPress || type == QEvent::KeyRelease || type == QEvent::Shortcut ||
         type == QEvent::ShortcutOverride;
}

}  // namespace

ModalView::ModalView(ModalModel& model, std::unique_ptr<QDialog> dialog)
    : model_(model), dialog_(std::move(dialog)) {
  dialog_->setWindowTitle(ShownTitle(model_.Title()));
  dialog_->setModal(true);
  dialog_->setWindowFlag(Qt::WindowContextHelpButtonHint, false);
  QObject::connect(dialog_.get(), &QDialog::rejected, this,
                   [this] { End(std::string(kCancelButton)); });
  qApp->installEventFilter(this);
}

ModalView::~ModalView() { qApp->removeEventFilter(this); }

void ModalView::Open(int guardMilliseconds) {
  // Qt's file dialog gives its own, and changes its labels while it is open.
  if (!qobject_cast<QFileDialog*>(dialog_.get())) GiveAccelerators(*dialog_);
  for (QPlainTextEdit* const text : dialog_->findChildren<QPlainTextEdit*>()) {
    StandInOwnDirection(*text);
  }
  PlaceDialog();
  guardMilliseconds_ = guardMilliseconds;
  sinceOpen_.start();
  Appear();
  wantedSize_ = dialog_->size();
}

void ModalView::Appear() {
  dialog_->show();
  dialog_->raise();
  dialog_->activateWindow();
}

// Never larger than the screen, so that the buttons stay in reach.
void ModalView::PlaceDialog() {
  QSize size = dialog_->size().isValid() ? dialog_->sizeHint() : QSize();
  if (model_.size) {
    size = QSize(static_cast<int>(model_.size->Width()), static_cast<int>(model_.size->Height()));
  }
  ResizeOnScreen(*dialog_, size.expandedTo(dialog_->minimumSizeHint()));
  if (model_.position) {
    MoveOnScreen(*dialog_, QPoint(static_cast<int>(model_.position->X()),
                                  static_cast<int>(model_.position->Y())));
  }
}

void ModalView::NoteSize(const QSize& before) {
  const QSize now = dialog_->size();
  const QSize least = dialog_->minimumSize();
  const bool grewWider = now.width() > before.width() && now.width() == least.width();
  const bool grewHigher = now.height() > before.height() && now.height() == least.height();
  if (!grewWider && now.width() != before.width()) wantedSize_.setWidth(now.width());
  if (!grewHigher && now.height() != before.height()) wantedSize_.setHeight(now.height());
}

void ModalView::End(const std::string& button) {
  if (model_.HasEnded()) return;
  ReadModel();
  model_.End(button);
}

int ModalView::LabelColumns(int beside) const {
  if (!model_.size) return kMostLabelColumns;
  const int most = MostOnScreen(*dialog_).width();
  const int width = static_cast<int>(std::clamp<long>(model_.size->Width(), 0, most));
  const int column = dialog_->fontMetrics().averageCharWidth();
  return std::max(kMostLabelColumns, width / column - beside);
}

QDialogButtonBox* ModalView::MakeButtons() {
  auto* const box = new QDialogButtonBox;
  const std::string defaultButton = model_.DefaultButton();
  for (const ModalButton& button : model_.Buttons()) {
    QPushButton* const widget =
        box->addButton(QLatin1Char('&') + Shown(button.label), RoleOf(button.name));
    if (!IsUsual(button.label))
      ShowLabel(*widget, Shown(button.label), LabelColumns(kMostLabelColumns));
    widget->setObjectName(QString::fromStdString(button.name));
    widget->setAutoDefault(true);
    if (button.name == defaultButton) widget->setDefault(true);
    QObject::connect(widget, &QPushButton::clicked, this,
                     [this, name = button.name] { End(name); });
  }
  return box;
}

bool ModalView::eventFilter(QObject* object, QEvent* event) {
  if (object == dialog_.get() && event->type() == QEvent::Resize && sinceOpen_.isValid()) {
    NoteSize(static_cast<QResizeEvent&>(*event).oldSize());
  }
  if (event->type() == QEvent::Show) {
    // What Qt asks by itself.
    if (auto* const box = qobject_cast<QMessageBox*>(object)) GiveAccelerators(*box);
  }
  if (!IsKeyEvent(event->type()) || sinceOpen_.elapsed() >= guardMilliseconds_) return false;
  if (!object->isWidgetType()) return false;
  return static_cast<QWidget*>(object)->window() == dialog_.get();
}

QFont ChosenFont(const QFont& base, const WindowModel& model) {
  QFont font = base;
  if (!model.font) return font;
  if (!model.font->name.empty()) font.setFamily(Shown(model.font->name));
  if (model.font->height > 0) {
    font.setPointSize(static_cast<int>(std::min<long>(model.font->height, kMostPoints)));
  }
  return font;
}

}  // namespace ui
