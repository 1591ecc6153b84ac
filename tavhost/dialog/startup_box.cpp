#include "tavhost/dialog/startup_box.h"
#include "tavhost/base/never_destroyed.h"

#include <memory>

#include "host/base/string.h"
#include "host/dialog/startup_box.h"
#include "tavhost/base/string_of.h"
#include "tavhost/base/trace.h"
#include "tavhost/ui/models/message_window_model.h"
#include "tavhost/ui/toolkit.h"

namespace {

// The box that plug-ins see and the window that shows its text, there together or not at all.
struct State {
  TavStartupBox box;
  ui::MessageWindowModel window{""};
};
std::unique_ptr<State>& Shown() {
  static base::NeverDestroyed<std::unique_ptr<State>> shown;
  return *shown;
}

}  // namespace

namespace startup_box {

void Show() {
  if (Shown()) return;
  Shown() = std::make_unique<State>();
  trace::NameFixed("TavStartupBox", &Shown()->box);
  ui::CurrentToolkit().Show(Shown()->window);
}

void Hide() {
  if (!Shown()) return;
  ui::CurrentToolkit().Close(Shown()->window);
  trace::Forget(&Shown()->box);
  Shown().reset();
}

}  // namespace startup_box

TavStartupBox* TavStartupBox::GetGlobal() {
  trace::Call call("TavStartupBox::GetGlobal");
  return call.ResultObject(Shown() ? &Shown()->box : nullptr);
}

void TavStartupBox::SetAdditionalMessage(const SV::String& text) {
  trace::Call call(this, "SetAdditionalMessage", text);
  call.Write();
  Shown()->window.text = text.View();
  ui::CurrentToolkit().Update(Shown()->window);
}
