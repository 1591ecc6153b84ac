#include "host/browser/editable_simple_browser_window.h"

#include "host/browser/editable_browser_objects.h"
#include "tavhost/base/trace.h"
#include "tavhost/ui/models/browser_model.h"

TavEditableSimpleBrowserWindow::TavEditableSimpleBrowserWindow(SV::Window* parent,
                                                               TavEditableBrowserObjects* objects,
                                                               long left, long top, bool sizeable,
                                                               bool minimizable)
    : TavModalDialog(parent, std::make_unique<ui::EditBrowserModel>(objects->Table())) {
  trace::Call call("TavEditableSimpleBrowserWindow::TavEditableSimpleBrowserWindow",
                   trace::Window(parent), trace::Object{objects}, left, top, sizeable, minimizable);
  const auto makeButton = [this] {
    auto button = std::make_unique<SV::Button>(this);
    button->Model().visible = true;
    trace::Name("SV::Button", button.get());
    return button;
  };
  okButton_ = makeButton();
  for (auto& button : specialButtons_) button = makeButton();
  call.Created("TavEditableSimpleBrowserWindow", this);
}

TavEditableSimpleBrowserWindow::~TavEditableSimpleBrowserWindow() {
  trace::Call call(this, "~TavEditableSimpleBrowserWindow");
  call.Write();
  okButton_.reset();
  for (auto& button : specialButtons_) button.reset();
}

SV::Button& TavEditableSimpleBrowserWindow::GetOKButton() {
  trace::Call call(this, "GetOKButton");
  return *call.ResultObject(okButton_.get());
}

SV::Button& TavEditableSimpleBrowserWindow::GetSpecialButton(int which) {
  trace::Call call(this, "GetSpecialButton", which);
  return *call.ResultObject(specialButtons_[which].get());
}

// What a script has set on the button objects counts when the window opens; later changes do not
// show.
long TavEditableSimpleBrowserWindow::Execute() {
  auto& model = static_cast<ui::EditBrowserModel&>(Model());
  if (okButton_->Model().HasGivenTitle()) model.okText = okButton_->Model().Title();
  for (int i = 0; i < ui::EditBrowserModel::kSpecialCount; ++i) {
    model.showsSpecial[i] = specialButtons_[i]->IsVisible();
  }
  return TavModalDialog::Execute();
}
