#include "host/dialog/percentage_window.h"

#include "host/dialog/save_hide.h"
#include "tavhost/base/refused_memory.h"
#include "tavhost/base/trace.h"
#include "tavhost/ui/models/modal_model.h"
#include "tavhost/ui/models/percentage_window_model.h"
#include "tavhost/ui/toolkit.h"

TavPercentageWindow::TavPercentageWindow(SV::Window* parent, const SV::String& title,
                                         const SV::String& second, Flags flags)
    : Window(parent, std::make_unique<ui::PercentageWindowModel>(std::string(title.View()),
                                                                 (flags & kCancelButton) != 0,
                                                                 (flags & kSecondBar) != 0)) {
  trace::Call call("TavPercentageWindow::TavPercentageWindow", trace::Window(parent), title, second,
                   flags);
  Progress().message2 = second.View();
  call.Created("TavPercentageWindow", this);
}

TavPercentageWindow::~TavPercentageWindow() = default;

void* TavPercentageWindow::operator new(std::size_t size, const std::nothrow_t& none) noexcept {
  void* const memory = ::operator new(size, none);
  if (!memory) refused_memory::Note();
  return memory;
}

void* TavPercentageWindow::operator new(std::size_t size) { return ::operator new(size); }

void TavPercentageWindow::operator delete(void* memory) noexcept { ::operator delete(memory); }

void TavPercentageWindow::operator delete(void* memory, const std::nothrow_t& none) noexcept {
  ::operator delete(memory, none);
}

ui::PercentageWindowModel& TavPercentageWindow::Progress() {
  return static_cast<ui::PercentageWindowModel&>(Model());
}

void TavPercentageWindow::SetPercentage(double percentage) {
  trace::Call call(this, "SetPercentage", percentage);
  call.Write();
  Progress().SetPercentage(percentage);
  if (IsVisible()) ui::CurrentToolkit().Update(Model());
}

void TavPercentageWindow::SetPercentage2(double percentage) {
  trace::Call call(this, "SetPercentage2", percentage);
  call.Write();
  Progress().SetPercentage2(percentage);
  if (IsVisible()) ui::CurrentToolkit().Update(Model());
}

void TavPercentageWindow::SetCurrentMessage(const SV::String& message) {
  trace::Call call(this, "SetCurrentMessage", message);
  call.Write();
  Progress().message = message.View();
  if (IsVisible()) ui::CurrentToolkit().Update(Model());
}

void TavPercentageWindow::SetMessage2(const SV::String& message) {
  trace::Call call(this, "SetMessage2", message);
  call.Write();
  Progress().message2 = message.View();
  if (IsVisible()) ui::CurrentToolkit().Update(Model());
}

bool TavPercentageWindow::IsCancelled() {
  trace::Call call(this, "IsCancelled");
  return call.Result(Progress().Poll());
}

void Tav_SaveHide(SV::Window* window) {
  trace::Call call("Tav_SaveHide", trace::Window(window));
  call.Write();
  if (window) window->Hide();
}
