#include "host/browser/simple_browser_window.h"

#include "host/browser/shrink_expand_browser_objects.h"
#include "tavhost/base/trace.h"
#include "tavhost/ui/models/browser_model.h"

TavSimpleBrowserWindow::TavSimpleBrowserWindow(SV::Window* parent, SV::String title,
                                               TavShrinkExpandBrowserObjects* objects, long left,
                                               long top, long right, long bottom, bool sizeable,
                                               bool minimizable)
    : TavModalDialog(parent, std::make_unique<ui::BrowserModel>(objects->Table(), true)) {
  trace::Call call("TavSimpleBrowserWindow::TavSimpleBrowserWindow", trace::Window(parent), title,
                   trace::Object{objects}, left, top, right, bottom, sizeable, minimizable);
  Model().SetTitle(std::string(title.View()));
  call.Created("TavSimpleBrowserWindow", this);
}

TavSimpleBrowserWindow::~TavSimpleBrowserWindow() = default;

void TavSimpleBrowserWindow::adjustRows() {
  trace::Call call(this, "adjustRows");
  call.Write();
  static_cast<ui::BrowserModel&>(Model()).Table().ExpandAll(true);
}
