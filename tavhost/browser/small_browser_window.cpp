#include "host/browser/small_browser_window.h"

#include "host/browser/shrink_expand_browser_objects.h"
#include "tavhost/base/trace.h"
#include "tavhost/ui/models/browser_model.h"

TavSmallBrowserWindow::TavSmallBrowserWindow(SV::Window* parent,
                                             TavShrinkExpandBrowserObjects* objects, long left,
                                             long top, bool hidden)
    : TavModalDialog(parent, std::make_unique<ui::BrowserModel>(objects->Table(), false)) {
  trace::Call call("TavSmallBrowserWindow::TavSmallBrowserWindow", trace::Window(parent),
                   trace::Object{objects}, left, top, hidden);
  call.Created("TavSmallBrowserWindow", this);
}

TavSmallBrowserWindow::~TavSmallBrowserWindow() = default;

void TavSmallBrowserWindow::adjustRows() {
  trace::Call call(this, "adjustRows");
  call.Write();
  static_cast<ui::BrowserModel&>(Model()).Table().ExpandAll(true);
}
