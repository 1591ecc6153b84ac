#include "tavhost/qt/work_window_view.h"

#include <QCloseEvent>

#include "tavhost/qt/on_screen.h"
#include "tavhost/qt/remembered_sizes.h"

namespace ui {

namespace {

constexpr QSize kFirstSize(760, 460);

QString SizeName() { return QStringLiteral("work-window"); }

}  // namespace

WorkWindowView::WorkWindowView(WorkWindowModel& model)
    : model_(model), docks_(*this, model.workbench) {
  setWindowTitle(QStringLiteral("tavhost"));
  setDockOptions(AnimatedDocks | AllowNestedDocks | AllowTabbedDocks);
  // The docks are all there is to see; they share the whole window.
  setCentralWidget(nullptr);
  ResizeOnScreen(*this, remembered_sizes::Find(SizeName()).value_or(kFirstSize));
}

// The next tool that a script makes visible opens it again.
void WorkWindowView::closeEvent(QCloseEvent* event) {
  remembered_sizes::Keep(SizeName(), size());
  model_.visible = false;
  event->accept();
}

}  // namespace ui
