#include "host/export.h"
#include "tavhost/ui/qt/qt_toolkit.h"
#include "tavhost/ui/qt_module.h"

extern "C" TAV_HOST_API ui::Toolkit* tavhost_CreateQtToolkit(const ui::ModuleHost& host,
                                                             const ui::QtOptions& options) {
  return new ui::QtToolkit(host, options);
}
