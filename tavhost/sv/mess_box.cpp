#include "host/sv/mess_box.h"

#include "host/sv/error_box.h"
#include "host/sv/info_box.h"
#include "host/sv/query_box.h"
#include "host/sv/warning_box.h"
#include "tavhost/base/trace.h"
#include "tavhost/sv/modal.h"
#include "tavhost/ui/models/message_box_model.h"

namespace SV {

namespace {

// The two enumerations count alike, which the constructor asserts.
ui::MessageKind MessageOf(int kind) { return static_cast<ui::MessageKind>(kind); }

}  // namespace

MessBox::MessBox(Window* parent, Kind kind, std::uint32_t style, const String& text)
    : ModalDialog(parent, std::make_unique<ui::MessageBoxModel>(MessageOf(static_cast<int>(kind)),
                                                                style, std::string(text.View()))) {
  static_assert(static_cast<int>(Kind::kWarning) == static_cast<int>(ui::MessageKind::kWarning));
}

short MessBox::Execute() {
  trace::Call call(this, "Execute");
  return call.Result(static_cast<short>(modal::Run(*this)));
}

// The public constructors write a line of trace. Those with kBase do not: a class that is derived
// writes the line of its own construction.

InfoBox::InfoBox(Window* parent, const String& text) : InfoBox(kBase, parent, text) {
  trace::Call call("SV::InfoBox::InfoBox", trace::Window(parent), text);
  call.Created("SV::InfoBox", this);
}
InfoBox::InfoBox(Base, Window* parent, const String& text)
    : MessBox(parent, Kind::kInfo, kMessBoxOk, text) {}
InfoBox::~InfoBox() = default;

QueryBox::QueryBox(Window* parent, std::uint32_t style, const String& text)
    : QueryBox(kBase, parent, style, text) {
  trace::Call call("SV::QueryBox::QueryBox", trace::Window(parent), style, text);
  call.Created("SV::QueryBox", this);
}
QueryBox::QueryBox(Base, Window* parent, std::uint32_t style, const String& text)
    : MessBox(parent, Kind::kQuery, style, text) {}
QueryBox::~QueryBox() = default;

WarningBox::WarningBox(Window* parent, std::uint32_t style, const String& text)
    : WarningBox(kBase, parent, style, text) {
  trace::Call call("SV::WarningBox::WarningBox", trace::Window(parent), style, text);
  call.Created("SV::WarningBox", this);
}
WarningBox::WarningBox(Base, Window* parent, std::uint32_t style, const String& text)
    : MessBox(parent, Kind::kWarning, style, text) {}
WarningBox::~WarningBox() = default;

ErrorBox::ErrorBox(Window* parent, std::uint32_t style, const String& text)
    : MessBox(parent, Kind::kError, style, text) {
  trace::Call call("SV::ErrorBox::ErrorBox", trace::Window(parent), style, text);
  call.Created("SV::ErrorBox", this);
}
ErrorBox::~ErrorBox() = default;

}  // namespace SV
