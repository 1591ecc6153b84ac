#include "tavhost/sv/application.h"

#include <cassert>

#include "host/sv/application.h"
#include "tavhost/base/event_loop.h"
#include "tavhost/base/stop.h"
#include "tavhost/base/trace.h"
#include "tavhost/ui/toolkit.h"

namespace {

SV::Window* appWindow = nullptr;
const SV::Font& (*appFont)() = nullptr;
bool waitCursor = false;

// Made, and named in the trace, when it is first asked for.
SV::Application* TheApplication() {
  static SV::Application application;
  static const bool named = (trace::NameFixed("SV::Application", &application), true);
  static_cast<void>(named);
  return &application;
}

}  // namespace

namespace application {

void SetAppWindow(SV::Window* window) { appWindow = window; }
void SetAppFont(const SV::Font& (*font)()) { appFont = font; }

}  // namespace application

namespace SV {

bool Application::IsWait() const {
  trace::Call call(this, "IsWait");
  return call.Result(waitCursor);
}

void Application::Wait(bool on) {
  trace::Call call(this, "Wait", on);
  call.Write();
  waitCursor = on;
  if (ui::HasToolkit()) ui::CurrentToolkit().ShowWaitCursor(on);
  if (ui::HasToolkit()) ui::CurrentToolkit().ShowWaitCursor(on);
}

Window* Application::GetAppWindow() const {
  trace::Call call(this, "GetAppWindow");
  return call.ResultObject(appWindow);
}

const Font& Application::GetAppFont() const {
  trace::Call call(this, "GetAppFont");
  call.Write();
  assert(appFont);
  return appFont();
}

void Application::Reschedule(unsigned flags) {
  trace::Call call(this, "Reschedule", flags);
  call.Write();
  event_loop::ProcessEvents();
  stop::ThrowIfRequested();
}

Application* GetpApp() {
  trace::Call call("SV::GetpApp");
  return call.ResultObject(TheApplication());
}

}  // namespace SV
