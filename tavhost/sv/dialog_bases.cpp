// The classes between Window and a dialog. They add nothing of their own: plug-ins tell by them
// what kind of window they have.
#include <utility>

#include "host/sv/modal_dialog.h"
#include "tavhost/ui/models/window_model.h"

namespace SV {

SysWin::SysWin(Window* parent, std::unique_ptr<ui::WindowModel> model)
    : Window(parent, std::move(model)) {}

Dialog::Dialog(Window* parent, std::unique_ptr<ui::WindowModel> model)
    : SysWin(parent, std::move(model)) {}

ModalDialog::ModalDialog(Window* parent, std::unique_ptr<ui::WindowModel> model)
    : Dialog(parent, std::move(model)) {}

}  // namespace SV
