#include "host/tools/image_preview_dialog.h"

#include "host/files/core_variables.h"
#include "tavhost/base/string_of.h"
#include "tavhost/base/trace.h"
#include "tavhost/tools/image_files.h"
#include "tavhost/ui/models/image_dialog_model.h"
#include "tavhost/ui/models/window_model.h"

TavImagePreviewControl::TavImagePreviewControl(SV::Window* parent)
    : Window(parent, std::make_unique<ui::WindowModel>()) {
  trace::Name("TavImagePreviewControl", this);
}

SV::String TavImagePreviewControl::GetSelected() {
  trace::Call call(this, "GetSelected");
  const auto& images = static_cast<const ui::ImageDialogModel&>(GetParent()->Model());
  const std::string& selected = images.selected;
  return call.Result(base::StringOf(selected));
}

TavImagePreviewDialog::TavImagePreviewDialog(SV::Window* parent)
    : TavModalDialog(parent, std::make_unique<ui::ImageDialogModel>()) {
  trace::Call call("TavImagePreviewDialog::TavImagePreviewDialog", trace::Window(parent));
  control_.reset(new TavImagePreviewControl(this));
  call.Created("TavImagePreviewDialog", this);
}

TavImagePreviewDialog::~TavImagePreviewDialog() {
  trace::Call call(this, "~TavImagePreviewDialog");
  call.Write();
  control_.reset();
}

void TavImagePreviewDialog::Init(const SV::String& extensions) {
  trace::Call call(this, "Init", extensions);
  call.Write();
  auto& images = static_cast<ui::ImageDialogModel&>(Model());
  images.selected.clear();
  images.entries =
      image_files::Find(Tav_GetCoreVarConst(TavCoreVarDatabaseDirectory), extensions.View());
}

TavImagePreviewControl& TavImagePreviewDialog::GetPreviewControl() {
  trace::Call call(this, "GetPreviewControl");
  return *call.ResultObject(control_.get());
}
