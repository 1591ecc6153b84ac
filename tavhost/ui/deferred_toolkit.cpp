#include "tavhost/ui/deferred_toolkit.h"
#include "tavhost/ui/models/modal_model.h"
#include "tavhost/ui/models/window_model.h"
#include "tavhost/ui/models/work_window_model.h"
#include "tavhost/ui/printer_info.h"

#include <utility>

namespace ui {

namespace {

class DeferredToolkit final : public Toolkit {
 public:
  DeferredToolkit(std::unique_ptr<Toolkit> substitute,
                  std::function<std::unique_ptr<Toolkit>()> make)
      : current_(std::move(substitute)), make_(std::move(make)) {}

  void ProcessEvents() override { current_->ProcessEvents(); }
  void ProcessPainting() override { current_->ProcessPainting(); }
  void WaitForEvents(std::uint32_t milliseconds) override { current_->WaitForEvents(milliseconds); }

  void RunModal(ModalModel& window) override { Real().RunModal(window); }
  void Show(WindowModel& window) override { Real().Show(window); }
  void Update(WindowModel& window) override { Real().Update(window); }
  void Close(WindowModel& window) override { current_->Close(window); }  // nothing shown before

  void SetWorkWindow(WorkWindowModel* window) override {
    workWindow_ = window;
    if (!make_) current_->SetWorkWindow(window);
  }

  SV::Size ScreenSizePixel() override { return Real().ScreenSizePixel(); }
  SV::Size DialogUnitsToPixel(const SV::Size& units) override {
    return Real().DialogUnitsToPixel(units);
  }
  FontChoice ApplicationFont() override { return Real().ApplicationFont(); }
  void ShowWaitCursor(bool on) override { current_->ShowWaitCursor(on); }

  void ClearClipboard() override { Real().ClearClipboard(); }
  bool CopyToClipboard(std::string_view utf8) override { return Real().CopyToClipboard(utf8); }
  void Beep(std::uint32_t frequency, std::uint32_t milliseconds) override {
    Real().Beep(frequency, milliseconds);
  }
  std::optional<PrinterInfo> DefaultPrinter() override { return Real().DefaultPrinter(); }
  std::optional<PrinterInfo> FindPrinter(std::string_view name) override {
    return Real().FindPrinter(name);
  }

 private:
  Toolkit& Real() {
    if (make_) {
      if (std::unique_ptr<Toolkit> real = std::exchange(make_, nullptr)()) {
        current_ = std::move(real);
      }
      current_->SetWorkWindow(workWindow_);
    }
    return *current_;
  }

  std::unique_ptr<Toolkit> current_;
  WorkWindowModel* workWindow_ = nullptr;
  std::function<std::unique_ptr<Toolkit>()> make_;  // empty once called
};

}  // namespace

std::unique_ptr<Toolkit> DeferToolkit(std::unique_ptr<Toolkit> substitute,
                                      std::function<std::unique_ptr<Toolkit>()> make) {
  return std::make_unique<DeferredToolkit>(std::move(substitute), std::move(make));
}

}  // namespace ui
