#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "host/base/size.h"
#include "tavhost/base/result.h"
#include "tavhost/ui/answer_source.h"
#include "tavhost/ui/toolkit.h"

// The back end with real windows. It is a module of its own, loaded when it is first asked for, so
// that a run without windows never pays for them.
namespace ide {
class IdeHost;
struct IdeOptions;
}  // namespace ide

namespace ui {

struct QtOptions {
  std::optional<SV::Size> screen;  // what the screen's size is said to be; none: the real one
  std::string printer;             // the printer said to be the default one; empty: the system's
  std::string screenshots;         // the folder for a picture of every window; empty: none
  std::shared_ptr<AnswerSource> answers;
  std::function<void(std::string_view file, std::string_view reason)> pictureNotWritten;
};

// What the module needs of the program that has loaded it.
struct ModuleHost {
  void (*runPostedWork)();
  bool (*hasPostedWork)();
  void (*clearWakeUp)();
  bool (*isStopRequested)();
  int wakeUpDescriptor;
  void (*reportLine)(std::string_view text);  // the program's report::Line; not the module's copy
  void (*endWithoutDisplay)() = nullptr;      // the display has gone; does not return
};

// The names under which the module shows its functions.
// Null where there is no screen.
using CreateQtToolkitFunction = Toolkit*(const ModuleHost& host, const QtOptions& options);
inline constexpr const char* kCreateQtToolkit = "tavhost_CreateQtToolkit";
// Shows the workbench until it is closed; the toolkit is one that the module made.
using RunIdeFunction = void(Toolkit& toolkit, ide::IdeHost& host, const ide::IdeOptions& options);
inline constexpr const char* kRunIde = "tavhost_RunIde";

// Whether the module is there.
bool HasQtModule(const std::string& moduleFolder);
// Fails when the module cannot be loaded, or there is no screen. It is never unloaded. Without a
// display its windows are drawn, but not seen. One that cannot be reached ends the program: see
// CheckDisplay.
base::Result<std::unique_ptr<Toolkit>> LoadQtToolkit(const std::string& moduleFolder,
                                                     const ModuleHost& host,
                                                     const QtOptions& options);
// Fails when the module does not have it.
base::Result<RunIdeFunction*> LoadIde(const std::string& moduleFolder);

}  // namespace ui
