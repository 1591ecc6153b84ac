#include "host/dialog/mess_win.h"

#include "tavhost/base/string_of.h"
#include "tavhost/base/trace.h"
#include "tavhost/ui/models/message_window_model.h"
#include "tavhost/ui/toolkit.h"

namespace {

ui::MessageWindowModel& Message(SV::Window& window) {
  return static_cast<ui::MessageWindowModel&>(window.Model());
}

}  // namespace

TavMessWin::TavMessWin(SV::Window* parent, const SV::String& text, std::uint32_t flags,
                       bool centred)
    : Window(parent, std::make_unique<ui::MessageWindowModel>(std::string(text.View()))) {
  trace::Call call("TavMessWin::TavMessWin", trace::Window(parent), text, flags, centred);
  call.Created("TavMessWin", this);
}

TavMessWin::~TavMessWin() = default;

void TavMessWin::SetText(const SV::String& text) {
  trace::Call call(this, "SetText", text);
  call.Write();
  Message(*this).text = text.View();
  if (IsVisible()) ui::CurrentToolkit().Update(Model());
}

SV::String TavMessWin::GetText() const {
  trace::Call call(this, "GetText");
  const auto& message = static_cast<const ui::MessageWindowModel&>(Model());
  return call.Result(base::StringOf(message.text));
}
