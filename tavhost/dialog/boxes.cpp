#include <string>

#include "host/dialog/info_box.h"
#include "host/dialog/query_box.h"
#include "host/dialog/top_window.h"
#include "host/dialog/warning_box.h"
#include "host/sv/application.h"
#include "tavhost/base/trace.h"
#include "tavhost/sv/modal.h"

// A box is the parent of whatever opens while it lives: it pushes itself as the last step of its
// construction and pops itself as the first step of its destruction.
namespace {

void Push(trace::Call& call, const char* className, SV::Window* box) {
  trace::Name(className, box);
  Tav_PushParentWindow(box);
  call.ResultObject(box);
}

void Pop(SV::Window* box) {
  if (!trace::IsOpen()) return Tav_PopParentWindow(box);
  // A destructor's line makes the trace forget the object's name. The pop, which comes behind it,
  // still shows the box, so the name is given back until then.
  const SV::String name = trace::detail::ObjectText(box);
  trace::Call call(box, "~Box");
  call.Write();
  trace::NameFixed(name.GetStr(), box);
  Tav_PopParentWindow(box);
  trace::Forget(box);
}

}  // namespace

TavInfoBox::TavInfoBox(SV::Window* parent, const SV::String& text) : InfoBox(kBase, parent, text) {
  trace::Call call("TavInfoBox::TavInfoBox", trace::Window(parent), text);
  Push(call, "TavInfoBox", this);
}

TavInfoBox::~TavInfoBox() { Pop(this); }

short TavInfoBox::Execute() {
  trace::Call call(this, "Execute");
  SV::Application& application = *SV::GetpApp();
  const bool wait = application.IsWait();
  if (wait) application.Wait(false);
  const auto result = static_cast<short>(modal::Run(*this));
  if (wait) application.Wait(true);
  return call.Result(result);
}

TavQueryBox::TavQueryBox(SV::Window* parent, std::uint32_t style, const SV::String& text)
    : QueryBox(kBase, parent, style, text) {
  trace::Call call("TavQueryBox::TavQueryBox", trace::Window(parent), style, text);
  Push(call, "TavQueryBox", this);
}

TavQueryBox::~TavQueryBox() { Pop(this); }

TavWarningBox::TavWarningBox(SV::Window* parent, std::uint32_t style, const SV::String& text)
    : WarningBox(kBase, parent, style, text) {
  trace::Call call("TavWarningBox::TavWarningBox", trace::Window(parent), style, text);
  Push(call, "TavWarningBox", this);
}

TavWarningBox::~TavWarningBox() { Pop(this); }
