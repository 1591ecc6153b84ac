#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <tl/expected.hpp>
#include <utility>

#include "tavhost/app/command_line_tables.h"
#include "tavhost/app/exit_codes.h"
#include "tavhost/app/hang_up.h"
#include "tavhost/app/host.h"
#include "tavhost/app/outcome.h"
#include "tavhost/app/script_source.h"
#include "tavhost/app/standard_streams.h"
#include "tavhost/app/subcommands.h"
#include "tavhost/base/report.h"
#include "tavhost/base/stop.h"
#include "tavhost/base/string_of.h"
#include "tavhost/files/program_path.h"
#include "tavhost/script/runner.h"

namespace app {

namespace {

std::optional<ScriptSource> TextOnCommandLine(const std::string& text) {
  return ScriptSource{"<command line>", base::StringOf(text)};
}

// Relative names of a script's own files begin in the folder where it lies; those of a script
// without a file, in the current directory.
void SetProgramPath(const CommandLine& line) {
  if (line.scriptText || line.operands[0] == "-") return;
  const std::string& script = line.operands[0];
  program_path::SetFolderOf(script);
}

// What stands behind a script is the script's, whatever it reads like. Said where the script never
// asks for its arguments: then somebody meant the program.
void TellOptionsBehind(const CommandLine& line, const script::RunOptions& options,
                       std::string_view text) {
  const auto asks = [text](const char* word) { return text.find(word) != std::string_view::npos; };
  if (asks("args") || asks("include")) return;
  const auto isOption = [&line](const std::string& argument) {
    const std::string name = argument.substr(0, argument.find('='));
    // Who is quiet is told all the same of the one whose lack writes and deletes for real.
    if (line.options.quiet && name != "--dry-run") return false;
    return std::any_of(kOptions.begin(), kOptions.end(), [&name](const OptionRow& row) {
      return row.name == name && IsOptionOf(row, Subcommand::kRun);
    });
  };
  const auto found = std::find_if(options.args.begin(), options.args.end(), isOption);
  if (found == options.args.end()) return;
  report::Line("tavhost: note: " + *found +
               " stands behind the script and is its argument, not an option of tavhost");
}

}  // namespace

int RunScript(const CommandLine& line) {
  EndAtHangUp();
  const auto source =
      line.scriptText ? TextOnCommandLine(*line.scriptText) : ReadScript(line.operands[0]);
  if (!source) return kExitUsage;

  const auto host = Host::Start(line.options);
  if (!host) return host.error();
  SetProgramPath(line);

  script::RunOptions options;
  options.name = source->name;
  options.args.assign(line.operands.begin() + (line.scriptText ? 0 : 1), line.operands.end());
  TellOptionsBehind(line, options, source->text.View());
  options.sinks.print = Print;
  options.sinks.error = report::Line;
  options.sinks.readLine = ReadInputLine;
  const script::Outcome outcome = script::RunText(source->text, options);
  ReportOutcome(outcome, line.options);
  const bool stopped = outcome.exitType == TavScriptExitStop;
  const int exitCodeOfRun = ExitCodeOf(outcome);
  if (stopped || outcome.exitType == TavScriptExitError) (*host)->DropOpenFiles();
  if (stopped) return (*host)->Finish(exitCodeOfRun);
  const int exitCodeOfAll = FinishServing(line.options, exitCodeOfRun);
  if (stop::IsRequested()) return (*host)->Finish(exitCodeOfAll);
  (*host)->WaitForUser();
  if (!stop::IsRequested()) return (*host)->Finish(exitCodeOfAll);
  ReportStop(stop::Requested(), line.options);
  return (*host)->Finish(ExitCodeOf(stop::Requested()));
}

}  // namespace app
