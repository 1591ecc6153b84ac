#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "tavhost/base/diagnostic.h"

namespace reference {
class Catalogue;
struct Command;
}  // namespace reference

namespace ide {

// What the workbench asks of the program around it. All of it belongs to the user-interface
// thread; texts are UTF-8.
class IdeHost {
 public:
  // Where a run puts what it has to say; called while it runs.
  struct Sinks {
    std::function<void(std::string_view)> print;
    std::function<void(std::string_view)> error;
    // Called before each statement of a script, which goes on when it returns; `depth` grows in
    // functions. Empty: the script runs at full speed.
    std::function<void(int line, int depth)> step;
    // What an operation of more than a second does and how far it is; empty: it has ended.
    std::function<void(std::string_view)> longWork;
  };

  // How a run ended.
  enum class End : std::uint8_t {
    kEnded,
    kExit,        // `exit`, with `code`
    kError,       // `mistake` says why
    kNotParsed,   // nothing ran; `mistake` says why
    kIncomplete,  // an entry that goes on in a next line; nothing ran
    kStopped,     // by the workbench
    kNoAnswer,    // a dialog had no answer
    kEndProgram,  // stopped from outside: the workbench is to close
  };
  struct Outcome {
    End end = End::kEnded;
    long code = 0;
    base::Diagnostic mistake;
  };

  struct Variable {
    std::string name;
    std::string type;
    std::string value;  // cut where it is too long to be shown
    bool isLocal = false;
  };

  virtual ~IdeHost() = default;

  // Runs a script as the outermost one and returns when it has ended; events are handled meanwhile.
  // Refused, as not parsed, while one runs. `path` is the file's, empty when it has none; `name`
  // stands for it in errors.
  virtual Outcome RunScript(const std::string& path, const std::string& name,
                            const std::string& text, const Sinks& sinks) = 0;
  // Runs what was entered at the console. Entries that follow each other share variables and
  // functions until a script is run.
  virtual Outcome RunEntry(const std::string& text, const Sinks& sinks) = 0;
  // Whether a script or an entry runs.
  virtual bool IsRunning() const = 0;
  // Asks what runs to stop.
  virtual void Stop() = 0;
  // Whether it was asked to, from here or from outside.
  virtual bool IsStopAsked() const = 0;
  // The console's entries are over; what they left behind is released.
  virtual void EndSession() = 0;
  // Whether the program was asked from outside to end while nothing ran.
  virtual bool IsEndAsked() const = 0;

  virtual std::vector<base::Diagnostic> Check(const std::string& name, const std::string& text) = 0;

  // The words that can stand where `before` ends; `names` are the variables known to the caller.
  virtual std::vector<std::string> Complete(const std::string& before,
                                            const std::vector<std::string>& names) = 0;

  // The variables as they are now, by name; before the global ones those of the function that runs.
  virtual std::vector<Variable> Variables() = 0;

  virtual const reference::Catalogue& Reference() = 0;
  // How a command is written, its optional parts in brackets.
  virtual std::string Usage(const reference::Command& command) = 0;

  // What scripts are told of as the main window's title.
  virtual void SetTitle(const std::string& title) = 0;

  // Where the script service's log for a text field goes; an empty function: nowhere.
  virtual void SetServiceLog(std::function<void(const std::string&)> show) = 0;
};

// What the command line says of the window.
struct IdeOptions {
  std::vector<std::string> files;  // to open
  std::string folder;           // for settings and what is kept between starts; empty: the user's
  std::function<void()> shown;  // called when the window has been painted first
};

}  // namespace ide
