#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/string.h"
#include "host/script/script.h"
#include "tavhost/base/diagnostic.h"
#include "tavhost/base/stop.h"

// Running scripts, for the program around them: the command line, the prompt, the workbench, the
// script service. All of it belongs to the user-interface thread. One outermost script runs at a
// time; what it starts by EXECUTE runs inside it.
namespace script {

using base::Diagnostic;

// Where a running script's words go. Empty functions stand for the standard streams.
struct Sinks {
  std::function<void(std::string_view)> print;  // what `print` writes, line feed included
  std::function<void(std::string_view)> error;  // errors that end an EXECUTE text, and only that
  // The next line of standard input; false at its end, and when a stop ends the wait. Without it a
  // script that reads has an error.
  std::function<bool(std::string&)> readLine = nullptr;
};

// Where a text that is stepped through is about to go on.
struct StepPlace {
  std::uint32_t line = 0;   // of the statement, from 1
  std::uint32_t depth = 0;  // of calls; grows inside a function
};

// How a script is run.
struct RunOptions {
  std::string name;  // stands for the file in error texts
  std::vector<std::string> args;
  Sinks sinks;
  // Called before each statement of the text, those that it executes left out; the script goes on
  // when it returns. Empty: nothing is called, and nothing costs time.
  std::function<void(const StepPlace&)> step;
};

// How a run ended.
struct Outcome {
  bool parsed = true;  // false: nothing ran, `error` says why
  TavScriptExitType exitType = TavScriptExitEnd;
  long code = 0;  // the number given to `exit`, else 0
  // When not parsed, or exitType is TavScriptExitError; for TavScriptExitStop, file and line of the
  // place where the script was, and as the message `Do_Execute:7` where a text that it executes
  // ran.
  Diagnostic error;
  std::string command;  // that reported the error, when exitType is TavScriptExitError; or empty
  stop::Reason stopReason = stop::Reason::kNone;  // when exitType is TavScriptExitStop
};

// Runs a text as the outermost script: empties the global variables, runs, sends
// INTERNAL_TAVSCRIPT_FINISHED, takes back a stop request. Inside a running script it does nothing
// but report so as an error.
Outcome RunText(const SV::String& text, const RunOptions& options);

// Several texts one after the other as one outermost script, as a prompt has them: variables and
// functions stay from one text to the next.
class Session {
 public:
  explicit Session(RunOptions options);
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  ~Session();  // the script's end

  // A stop request ends the text that runs, not the session; so does `exit`.
  Outcome Run(const SV::String& text);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

// Where words go while no outermost script runs, as those of a text that a command sent from
// outside executes; null: to standard output.
void SetPrintOutsideScripts(void (*print)(std::string_view));

bool IsScriptRunning();  // an outermost script, begun and not ended yet

}  // namespace script
