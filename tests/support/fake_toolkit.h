#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tavhost/headless/headless_toolkit.h"
#include "tavhost/ui/current_toolkit.h"
#include "tavhost/ui/models/message_window_model.h"
#include "tavhost/ui/models/modal_model.h"
#include "tavhost/ui/models/window_model.h"
#include "tavhost/ui/printer_info.h"
#include "tavhost/ui/toolkit.h"

// A toolkit that writes down what it is asked for, as long as it lives; it is the current one.
class FakeToolkit {
 public:
  FakeToolkit() { ui::SetToolkit(std::make_unique<Recorder>(*this)); }
  FakeToolkit(const FakeToolkit&) = delete;
  FakeToolkit& operator=(const FakeToolkit&) = delete;
  ~FakeToolkit() { ui::SetToolkit(nullptr); }

  std::vector<std::string> asked;
  std::string message;  // of the message window shown or changed last
  SV::Size screen{800, 600};
  std::string clipboard = "old";
  bool takesText = true;
  std::optional<ui::PrinterInfo> printer;

 private:
  class Recorder : public ui::Toolkit {
   public:
    explicit Recorder(FakeToolkit& owner) : owner_(owner) {}

    void RunModal(ui::ModalModel& window) override { headless_->RunModal(window); }
    void Show(ui::WindowModel& window) override {
      NoteMessage(window);
      headless_->Show(window);
    }
    void Update(ui::WindowModel& window) override {
      NoteMessage(window);
      headless_->Update(window);
    }
    void Close(ui::WindowModel& window) override { headless_->Close(window); }
    SV::Size DialogUnitsToPixel(const SV::Size& units) override {
      return headless_->DialogUnitsToPixel(units);
    }
    ui::FontChoice ApplicationFont() override { return headless_->ApplicationFont(); }
    void ShowWaitCursor(bool on) override {
      owner_.asked.push_back(on ? "wait cursor" : "no wait cursor");
    }

    void ProcessEvents() override { owner_.asked.push_back("process"); }
    void ProcessPainting() override { owner_.asked.push_back("paint"); }
    void WaitForEvents(std::uint32_t milliseconds) override {
      owner_.asked.push_back("wait " + std::to_string(milliseconds));
    }
    SV::Size ScreenSizePixel() override { return owner_.screen; }
    void ClearClipboard() override {
      owner_.asked.push_back("clear");
      owner_.clipboard.clear();
    }
    bool CopyToClipboard(std::string_view utf8) override {
      owner_.asked.push_back("copy");
      if (owner_.takesText) owner_.clipboard = utf8;
      return owner_.takesText;
    }
    void Beep(std::uint32_t frequency, std::uint32_t milliseconds) override {
      owner_.asked.push_back("beep " + std::to_string(frequency) + " " +
                             std::to_string(milliseconds));
    }
    std::optional<ui::PrinterInfo> DefaultPrinter() override { return owner_.printer; }
    std::optional<ui::PrinterInfo> FindPrinter(std::string_view name) override {
      if (owner_.printer && owner_.printer->name == name) return owner_.printer;
      return std::nullopt;
    }

   private:
    void NoteMessage(const ui::WindowModel& window) {
      if (window.Content() != ui::WindowContent::kMessage) return;
      owner_.message = static_cast<const ui::MessageWindowModel&>(window).text;
    }

    FakeToolkit& owner_;
    std::unique_ptr<ui::Toolkit> headless_ = ui::CreateHeadlessToolkit({});
  };
};
