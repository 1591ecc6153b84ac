#include "tavhost/qt/work_window_view.h"

#include <QCloseEvent>

#include "tavhost/qt/on_screen.h"
#include "tavhost/qt/remembered_sizes.h"

namespace ui {

namespace {

constexpr QSize kFirstSize(760, 460);

// What is left of the window where its tools do not take all of it.
QWidget* MakeMiddle(QMainWindow& window) {
  auto* const middle = new QWidget;
  window.setCentralWidget(middle);
  // Tools at the left and the right do not end where one of the bottom begins.
  window.setCorner(Qt::TopLeftCorner, Qt::LeftDockWidgetArea);
  window.setCorner(Qt::BottomLeftCorner, Qt::LeftDockWidgetArea);
  window.setCorner(Qt::TopRightCorner, Qt::RightDockWidgetArea);
  window.setCorner(Qt::BottomRightCorner, Qt::RightDockWidgetArea);
  return middle;
}

QString SizeName() { return QStringLiteral("work-window"); }

}  // namespace

WorkWindowView::WorkWindowView(WorkWindowModel& model)
    : model_(model), docks_(*this, model.workbench, MakeMiddle(*this)) {
  setWindowTitle(QStringLiteral("tavhost"));
  setDockOptions(AnimatedDocks | AllowNestedDocks | AllowTabbedDocks);
  ResizeOnScreen(*this, remembered_sizes::Find(SizeName()).value_or(kFirstSize));
}

// The next tool that a script makes visible opens it again.
void WorkWindowView::closeEvent(QCloseEvent* event) {
  remembered_sizes::Keep(SizeName(), size());
  model_.visible = false;
  event->accept();
}

}  // namespace ui
