#include "host/dialog/directory_dialog.h"

#include "host/base/string.h"
#include "host/sv/modal_dialog.h"
#include "tavhost/base/string_of.h"
#include "tavhost/base/trace.h"
#include "tavhost/dialog/window_stack.h"
#include "tavhost/sv/modal.h"
#include "tavhost/ui/models/directory_dialog_model.h"

namespace {

class DirectoryWindow final : public SV::ModalDialog {
 public:
  DirectoryWindow(SV::Window* parent, std::string start)
      : ModalDialog(parent, std::make_unique<ui::DirectoryDialogModel>(std::move(start))) {}

  ui::DirectoryDialogModel& Directory() { return static_cast<ui::DirectoryDialogModel&>(Model()); }
};

}  // namespace

bool ExecuteDirectoryDialog(SV::Window* parent, SV::String& path) {
  trace::Call call("ExecuteDirectoryDialog", trace::Window(parent), path);
  DirectoryWindow window(parent, std::string(path.View()));
  const window_stack::Scope scope(&window);
  const bool confirmed = modal::Run(window) == 1;
  if (confirmed) {
    const std::string& chosen = window.Directory().path;
    path = base::StringOf(chosen);
  }
  return call.Result(confirmed);
}
