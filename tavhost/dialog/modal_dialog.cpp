#include "host/dialog/modal_dialog.h"

#include <utility>

#include "tavhost/base/trace.h"
#include "tavhost/dialog/window_stack.h"
#include "tavhost/sv/modal.h"
#include "tavhost/ui/models/window_model.h"

TavModalDialog::TavModalDialog(SV::Window* parent, std::unique_ptr<ui::WindowModel> model)
    : ModalDialog(parent, std::move(model)) {}

long TavModalDialog::Execute() {
  trace::Call call(this, "Execute");
  const window_stack::Scope scope(this);
  return call.Result(modal::Run(*this));
}
