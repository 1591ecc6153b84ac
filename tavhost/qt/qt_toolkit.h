#pragma once

#include <QApplication>
#include <QSocketNotifier>
#include <map>
#include <memory>
#include <string_view>
#include <vector>

#include "tavhost/qt/message_window_view.h"
#include "tavhost/qt/modal_view.h"
#include "tavhost/qt/percentage_window_view.h"
#include "tavhost/qt/tone.h"
#include "tavhost/qt/work_window_view.h"
#include "tavhost/ui/models/message_window_model.h"
#include "tavhost/ui/models/modal_model.h"
#include "tavhost/ui/models/percentage_window_model.h"
#include "tavhost/ui/models/window_model.h"
#include "tavhost/ui/models/work_window_model.h"
#include "tavhost/ui/printer_info.h"
#include "tavhost/ui/qt_module.h"
#include "tavhost/ui/toolkit.h"

namespace ui {

// The back end with real windows. It owns the application object, so that there is one of it, and
// the views of windows that stay; a modal view lives as long as its RunModal. All of it belongs to
// the thread that made it.
class QtToolkit final : public Toolkit {
 public:
  QtToolkit(const ModuleHost& host, const QtOptions& options);
  ~QtToolkit() override;

  // The window above which dialogs open; null: none. It stays the caller's.
  void SetMainWindow(QWidget* window);

  // Tells a person something, on standard error.
  void Report(std::string_view text) const { host_.reportLine(text); }

  void ProcessEvents() override;
  void ProcessPainting() override;
  void WaitForEvents(std::uint32_t milliseconds) override;

  void RunModal(ModalModel& window) override;
  void Show(WindowModel& window) override;
  void Update(WindowModel& window) override;
  void Close(WindowModel& window) override;
  void SetWorkWindow(WorkWindowModel* window) override;
  // Null when there is none.
  WorkWindowModel* WorkWindow() const { return workWindow_; }
  // Whoever shows the work window's tools takes this over; true while a window of its own is not
  // to be opened for them.
  void SetToolsShownElsewhere(bool elsewhere) { toolsShownElsewhere_ = elsewhere; }

  SV::Size ScreenSizePixel() override;
  SV::Size DialogUnitsToPixel(const SV::Size& units) override;
  FontChoice ApplicationFont() override;
  void ShowWaitCursor(bool on) override;

  void ClearClipboard() override;
  bool CopyToClipboard(std::string_view utf8) override;
  void Beep(std::uint32_t frequency, std::uint32_t milliseconds) override;
  std::optional<PrinterInfo> DefaultPrinter() override;
  std::optional<PrinterInfo> FindPrinter(std::string_view name) override;

 private:
  void Woken();
  void CloseWhatStandsOnTop();
  bool HasSomethingOnTop() const;
  bool IsOwn(const QWidget& window) const;
  bool IsForUser() const;
  void AnswerWithoutUser(ModalView& view);
  void LetUserAnswer(ModalView& view);
  QWidget* ParentOf(const WindowModel& window) const;
  QWidget* ParentOfMessages() const;
  void LeaveMessagesAlone();
  void Paint();
  void ShowMessage(MessageWindowModel& window);
  void ShowProgress(PercentageWindowModel& window);
  void ShowWorkWindow(WorkWindowModel& window);
  void TakePicture(QWidget& widget, const QString& name);

  ModuleHost host_;
  QtOptions options_;
  std::unique_ptr<QApplication> application_;
  std::unique_ptr<QSocketNotifier> wakeUp_;
  std::vector<ModalView*> open_;  // the modal windows, the last on top
  std::map<const WindowModel*, std::unique_ptr<MessageWindowView>> messages_;
  std::map<const WindowModel*, std::unique_ptr<PercentageWindowView>> progress_;
  WorkWindowModel* workWindow_ = nullptr;
  std::unique_ptr<WorkWindowView> workView_;
  bool toolsShownElsewhere_ = false;
  Tone tone_;
  QWidget* mainWindow_ = nullptr;
  int painting_ = 0;      // ProcessPainting inside one another
  bool closing_ = false;  // CloseWhatStandsOnTop is on its way
  int pictures_ = 0;
};

}  // namespace ui
