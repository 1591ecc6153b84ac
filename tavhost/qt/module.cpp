#include <QGuiApplication>
#include <memory>

#include "host/export.h"
#include "tavhost/ide/ide_host.h"
#include "tavhost/qt/ide/ide.h"
#include "tavhost/qt/qt_toolkit.h"
#include "tavhost/ui/qt_module.h"

extern "C" TAV_HOST_API ui::Toolkit* tavhost_CreateQtToolkit(const ui::ModuleHost& host,
                                                             const ui::QtOptions& options) {
  auto toolkit = std::make_unique<ui::QtToolkit>(host, options);
  return QGuiApplication::primaryScreen() ? toolkit.release() : nullptr;
}

extern "C" TAV_HOST_API void tavhost_RunIde(ui::Toolkit& toolkit, ide::IdeHost& host,
                                            const ide::IdeOptions& options) {
  ui::RunIde(static_cast<ui::QtToolkit&>(toolkit), host, options);
}
