#include "tavhost/app/program.h"

#include <new>
#include <tl/expected.hpp>
#include <variant>

#include "tavhost/app/command_line.h"
#include "tavhost/app/commands_command.h"
#include "tavhost/app/crash.h"
#include "tavhost/app/exit_codes.h"
#include "tavhost/app/host.h"
#include "tavhost/app/interrupts.h"
#include "tavhost/app/out_of_memory.h"
#include "tavhost/app/outcome.h"
#include "tavhost/app/stack_room.h"
#include "tavhost/app/standard_streams.h"
#include "tavhost/app/subcommands.h"
#include "tavhost/app/window_module.h"
#include "tavhost/base/memory_reserve.h"
#include "tavhost/base/report.h"
#include "tavhost/base/standard_write.h"
#include "tavhost/loader/validate.h"
#include "tavhost/lsp/language_server.h"

namespace app {

namespace {

int RunSubcommand(const CommandLine& line) {
  switch (line.subcommand) {
    case Subcommand::kIde:
      return RunIde(line);
    case Subcommand::kRun:
      return RunScript(line);
    case Subcommand::kSend:
      return SendCommands(line);
    case Subcommand::kCheck:
      return CheckScripts(line);
    case Subcommand::kCommands:
      return RunCommands(line.operands.empty() ? std::string() : line.operands[0], line.json);
    case Subcommand::kValidate:
      return loader::RunValidate(line.operands[0], line.json);
    case Subcommand::kValidateChild:
      return loader::RunValidateChild(line.operands[0], line.operands[1], line.operands[2]);
    case Subcommand::kWindowsChild:
      return TryWindows();
    case Subcommand::kRepl:
      return RunPrompt(line);
    case Subcommand::kServe:
      return ServeScripts(line);
    case Subcommand::kLanguageServer:
      return lsp::ServeLanguage();
    case Subcommand::kTrace:
      return CompareTraces(line);
  }
  return kExitUsage;
}

int RunWithinMemory(const std::vector<std::string>& arguments) {
  try {
    if (const base::Result<void> stack = TakeStackRoom(); !stack) {
      report::Line("tavhost: " + stack.error().message);
      return kExitScriptError;
    }
    const auto parsed = ParseCommandLine(arguments);
    if (const int* const done = std::get_if<int>(&parsed)) return *done;
    const CommandLine& line = std::get<CommandLine>(parsed);
    if (line.options.timeoutSeconds > 0) {
      LimitTime(line.options.timeoutSeconds, TimeLimitText(line.options) + '\n');
    }
    if (line.about.empty()) return RunSubcommand(line);
    Print(line.about);
    return kExitSuccess;
  } catch (const std::bad_alloc&) {
    report::Line("tavhost: out of memory");
    return kExitScriptError;
  }
}

// The exit code that also tells whether all could be written. Nothing else tells of printed text
// that is lost; where a file is missing, a code that tells of a mistake stays.
int WithOutput(int code) {
  const bool isPrinted = FinishOutput();
  if (standard_write::HasDropped()) return ExitCodeOfStop(Interruption());
  if (!isPrinted) return kExitScriptError;
  if (code != kExitSuccess) return code;
  return Host::IsAllWritten() ? kExitSuccess : kExitNotWritten;
}

}  // namespace

int RunProgram(const std::vector<std::string>& arguments) {
  EndAtInterrupts();
  PrepareStandardStreams();
  memory_reserve::Keep();
  NoteRefusedMemory();
  ReportCrashes();
  const int exitCode = WithOutput(RunWithinMemory(arguments));
  report::Finish();
  return exitCode;
}

}  // namespace app
