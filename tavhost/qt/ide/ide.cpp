#include "tavhost/qt/ide/ide.h"

#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QEventLoop>
#include <QLoggingCategory>
#include <QTimer>

#include "tavhost/qt/ide/ide_window.h"
#include "tavhost/qt/qt_toolkit.h"
#include "tavhost/ui/models/work_window_model.h"

namespace ui {

namespace {

// QT_LOGGING_RULES="tavhost.workbench.debug=true" tells when the window is there.
Q_LOGGING_CATEGORY(Log, "tavhost.workbench", QtWarningMsg)

}  // namespace

void RunIde(QtToolkit& toolkit, ide::IdeHost& host, const ide::IdeOptions& options) {
  ide_view::IdeWindow window(host, options);
  QEventLoop loop;
  window.closed = [&loop] { loop.quit(); };
  window.painted = [&] {
    if (options.shown) options.shown();
    if (Log().isDebugEnabled()) toolkit.Report("tavhost: the workbench has been painted");
  };
  toolkit.SetMainWindow(&window);
  // Scripts' tools are docks of this window instead of one of their own.
  if (WorkWindowModel* const work = toolkit.WorkWindow()) window.ShowTools(work->workbench);
  toolkit.SetToolsShownElsewhere(true);
  window.Start(options.files);
  window.show();
  // A request to end from outside wakes the loop.
  const auto awake = QObject::connect(
      QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::awake, &window, [&] {
        if (host.IsEndAsked()) QTimer::singleShot(0, &window, [&window] { window.EndNow(); });
      });
  loop.exec();
  QObject::disconnect(awake);
  host.EndSession();  // its windows stand above this one
  toolkit.SetToolsShownElsewhere(false);
  toolkit.SetMainWindow(nullptr);
}

}  // namespace ui
