#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "host/base/size.h"
#include "tavhost/ui/models/browser_model.h"
#include "tavhost/ui/models/directory_dialog_model.h"
#include "tavhost/ui/models/drawing_model.h"
#include "tavhost/ui/models/edit_field_model.h"
#include "tavhost/ui/models/file_dialog_model.h"
#include "tavhost/ui/models/image_dialog_model.h"
#include "tavhost/ui/models/list_box_model.h"
#include "tavhost/ui/models/message_box_model.h"
#include "tavhost/ui/models/message_window_model.h"
#include "tavhost/ui/models/modal_model.h"
#include "tavhost/ui/models/percentage_window_model.h"
#include "tavhost/base/posted_work.h"
#include "tavhost/ui/models/result_tool_model.h"
#include "tavhost/ui/table/table_model.h"
#include "tavhost/ui/models/text_box_model.h"
#include "tavhost/ui/models/text_model.h"
#include "tavhost/ui/models/tree_list_box_model.h"
#include "tavhost/ui/models/window_model.h"
#include "tavhost/ui/models/work_window_model.h"

// The one port to a user interface. The host's libraries hold plain models and ask the toolkit to
// show them; a back end only renders models and reports what the user did. All calls come from
// the user-interface thread.
namespace ui {

struct PrinterInfo {
  std::string name;
  std::string device;
  std::string port;
  std::string driver;
};

class Toolkit {
 public:
  virtual ~Toolkit() = default;

  // Handles all events that wait, the host's own posted work included, and returns at once.
  virtual void ProcessEvents() = 0;
  // Lets the windows paint themselves and returns at once: input of the user and posted work wait.
  virtual void ProcessPainting() = 0;
  // Returns when an event waits, a stop is asked for, or the time is over; handles nothing.
  virtual void WaitForEvents(std::uint32_t milliseconds) = 0;

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

// The toolkit in use. There is always one once the host has started.
Toolkit& CurrentToolkit();
bool HasToolkit();
// Null takes it away again.
void SetToolkit(std::unique_ptr<Toolkit> toolkit);

}  // namespace ui
