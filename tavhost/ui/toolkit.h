#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "host/base/size.h"
#include "tavhost/base/event_loop.h"

// The one port to a user interface. The host's libraries hold plain models and ask the toolkit to
// show them; a back end only renders models and reports what the user did. All calls come from
// the user-interface thread.
namespace ui {

class ModalModel;
class WindowModel;
class WorkWindowModel;
struct FontChoice;
struct PrinterInfo;

class Toolkit : public event_loop::Loop {
 public:
  // Shows the window until it is answered; the model then holds what the user did and how the
  // window ended. A stop request ends it as cancelled. Throws stop::Stopped, the request made,
  // when the window was to be answered without a user and could not be.
  virtual void RunModal(ModalModel& window) = 0;

  // Windows that stay while the script goes on. Show again after Close makes a new one; Update
  // and Close of a window that is not shown do nothing. The model must stay until Close.
  virtual void Show(WindowModel& window) = 0;
  virtual void Update(WindowModel& window) = 0;
  virtual void Close(WindowModel& window) = 0;

  // There is a work window from now on, shown or not; null: there is none any more. Back ends may
  // observe its workbench in between.
  virtual void SetWorkWindow(WorkWindowModel*) {}

  virtual SV::Size ScreenSizePixel() = 0;
  virtual SV::Size DialogUnitsToPixel(const SV::Size& units) = 0;
  virtual FontChoice ApplicationFont() = 0;
  virtual void ShowWaitCursor(bool on) = 0;

  virtual void ClearClipboard() = 0;
  virtual bool CopyToClipboard(std::string_view utf8) = 0;

  virtual void Beep(std::uint32_t frequency, std::uint32_t milliseconds) = 0;

  virtual std::optional<PrinterInfo> DefaultPrinter() = 0;
  // What the system knows of a printer of that name; empty when it knows none.
  virtual std::optional<PrinterInfo> FindPrinter(std::string_view name) = 0;
};

// The toolkit in use. There is always one once the host has started; current_toolkit.h sets it.
Toolkit& CurrentToolkit();
bool HasToolkit();

}  // namespace ui
