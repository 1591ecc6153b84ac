#include "tavhost/headless/headless_toolkit.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <tl/expected.hpp>
#include <utility>

#include "tavhost/base/event_loop.h"
#include "tavhost/base/stop.h"
#include "tavhost/headless/answer_session.h"
#include "tavhost/headless/output_printer.h"
#include "tavhost/headless/progress_line.h"
#include "tavhost/ui/models/modal_model.h"
#include "tavhost/ui/models/percentage_window_model.h"
#include "tavhost/ui/models/window_model.h"
#include "tavhost/ui/models/work_window_model.h"
#include "tavhost/ui/printer_info.h"

namespace ui {

namespace {

// How wide and high a dialog unit is with a common font.
constexpr std::int64_t kPixelsPerUnit = 2;

long ToPixel(long units) {
  constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();
  return static_cast<long>(std::clamp(units * kPixelsPerUnit, -kMost, kMost));
}

class HeadlessToolkit final : public Toolkit {
 public:
  explicit HeadlessToolkit(HeadlessOptions options) : options_(std::move(options)) {
    if (!options_.answers) options_.answers = *AnswerSession::Create({});  // reads nothing
  }

  void ProcessEvents() override {
    event_loop::ClearWakeUp();
    event_loop::ProcessSystemMessages();
    event_loop::RunPostedWork();
    if (progress_) progress_->Refresh();
  }

  void ProcessPainting() override {}

  void WaitForEvents(std::uint32_t milliseconds) override {
    if (stop::IsRequested() || event_loop::HasPostedWork()) return;
    event_loop::WaitForWakeUp(milliseconds);
  }

  // A window that has not ended was left because of a stop; nothing answered it.
  void RunModal(ModalModel& window) override {
    options_.answers->Answer(window);
    if (window.HasEnded()) options_.answers->Record(window);
  }

  // Of the windows that stay while a script goes on, only progress can be told without a display.
  void Show(WindowModel& window) override {
    if (window.Content() != WindowContent::kProgress) return;
    auto& progress = static_cast<PercentageWindowModel&>(window);
    options_.answers->ProgressShown(progress);
    if (!options_.showStatus) return;
    progress_.emplace(progress, options_.showStatus);
    progress_->Update();
  }
  void Update(WindowModel& window) override {
    if (progress_ && window.Content() == WindowContent::kProgress) {
      progress_->Update();
    }
  }
  void Close(WindowModel& window) override {
    if (window.Content() != WindowContent::kProgress) return;
    options_.answers->ProgressClosed(static_cast<PercentageWindowModel&>(window));
    if (!progress_) return;
    progress_->Close();
    progress_.reset();
  }

  void SetWorkWindow(WorkWindowModel* window) override {
    printer_.reset();
    if (window && options_.print) printer_.emplace(window->workbench, options_.print);
  }

  SV::Size DialogUnitsToPixel(const SV::Size& units) override {
    return {ToPixel(units.Width()), ToPixel(units.Height())};
  }
  FontChoice ApplicationFont() override { return {"Sans", 9}; }
  void ShowWaitCursor(bool) override {}

  SV::Size ScreenSizePixel() override { return options_.screen; }

  void ClearClipboard() override { clipboard_.clear(); }
  bool CopyToClipboard(std::string_view utf8) override {
    clipboard_.assign(utf8);
    return true;
  }

  void Beep(std::uint32_t, std::uint32_t) override {}

  std::optional<PrinterInfo> DefaultPrinter() override {
    if (options_.printer.empty()) return std::nullopt;
    return PrinterInfo{options_.printer, options_.printer, "", ""};
  }
  std::optional<PrinterInfo> FindPrinter(std::string_view name) override {
    if (options_.printer.empty() || name != options_.printer) return std::nullopt;
    return DefaultPrinter();
  }

 private:
  HeadlessOptions options_;
  std::string clipboard_;
  std::optional<ProgressLine> progress_;
  std::optional<OutputPrinter> printer_;
};

}  // namespace

std::unique_ptr<Toolkit> CreateHeadlessToolkit(const HeadlessOptions& options) {
  return std::make_unique<HeadlessToolkit>(options);
}

}  // namespace ui
