#include <cctype>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/script/script.h"
#include "tavhost/app/commands_command.h"
#include "tavhost/app/completion.h"
#include "tavhost/app/exit_codes.h"
#include "tavhost/app/host.h"
#include "tavhost/app/interrupts.h"
#include "tavhost/app/line_editor.h"
#include "tavhost/app/outcome.h"
#include "tavhost/app/standard_streams.h"
#include "tavhost/app/subcommands.h"
#include "tavhost/loader/reference.h"
#include "tavhost/notation/kel_value_set.h"
#include "tavhost/notation/text.h"
#include "tavhost/script/runner.h"
#include "tavhost/sv/stop.h"

namespace app {

namespace {

constexpr char kPrompt[] = "tav> ";
constexpr char kContinuedPrompt[] = "...> ";
constexpr std::size_t kLongestShownValue = 200;  // bytes; a prompt is no place for whole files

constexpr char kHelp[] =
    "Statements of TavScript run as they are typed; variables and functions stay.\n"
    "  help COMMAND   what a command takes and returns\n"
    "  help commands  all commands\n"
    "  NAME           the value of a variable\n"
    "  = EXPRESSION   the value of an expression\n"
    "  exit [CODE]    leaves, as does the end of the input (Ctrl-D)\n"
    "Ctrl-C stops what runs, or drops what was typed. Tab completes.\n";

std::string_view Trimmed(std::string_view text) {
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front()))) {
    text.remove_prefix(1);
  }
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) {
    text.remove_suffix(1);
  }
  return text;
}

// The name at the start; empty when there is none.
std::string_view FirstName(std::string_view text) {
  std::size_t length = 0;
  while (length < text.size() && (std::isalnum(static_cast<unsigned char>(text[length])) ||
                                  text[length] == '_' || text[length] == '-')) {
    ++length;
  }
  return text.substr(0, length);
}

kel::Scope& Globals() { return kel::Scope::Of(*TavScript::GlobalVars()); }

std::string ShownText(const kel::Value& value) {
  SV::String kel;
  kel::AppendKel(kel, value);
  std::string text(kel.View());
  if (text.size() > kLongestShownValue) {
    std::size_t end = kLongestShownValue;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
    text = text.substr(0, end) + "... (" + std::to_string(text.size()) + " bytes)";
  }
  return text;
}

using Variables = std::map<std::string, kel::Value>;

Variables AllVariables() {
  Variables all;
  Globals().ForEach([&all](std::string_view name, const kel::Value& value) {
    if (!value.IsNone()) all.emplace(name, value);
  });
  return all;
}

std::vector<std::string> VariableNames() {
  std::vector<std::string> names;
  for (const auto& entry : AllVariables()) names.push_back(entry.first);
  return names;
}

void ShowHelp(std::string_view topic) {
  const reference::Catalogue& catalogue = reference::Catalogue::Get();
  if (topic.empty()) return Print(kHelp);
  if (topic == "commands") return Print(ListText(catalogue));
  if (const reference::Command* command = catalogue.Find(topic)) {
    return Print(CommandText(*command));
  }
  const reference::Command* const nearest = catalogue.Nearest(topic);
  WriteError("no command \"" + std::string(topic) + "\"" +
             (nearest ? "; did you mean \"" + nearest->name + "\"?" : std::string()) + "\n");
}

class Prompt {
 public:
  Prompt(script::RunOptions runOptions, const Options& options)
      : options_(options),
        session_(std::move(runOptions)),
        editor_(LineEditor::Create([this](std::string_view before) {
          return CompleteScript(pending_ + std::string(before), VariableNames());
        })),
        interactive_(IsInputTerminal()) {}

  // Returns the exit code.
  int Run() {
    if (interactive_) Print("TavScript prompt; help explains, Ctrl-D leaves.\n");
    for (;;) {
      const auto line = editor_->Read(pending_.empty() ? kPrompt : kContinuedPrompt);
      if (stop::IsRequested()) {
        if (DropInput()) continue;
        ReportStop(stop::Requested(), options_);
        return ExitCodeOf(stop::Requested());
      }
      if (!line) break;
      if (!Take(*line)) return exitCode_;
    }
    // The input ended inside a statement: what is wrong with it is told.
    if (!pending_.empty()) RunText(pending_, true);
    if (interactive_) Print("\n");
    return exitCode_;
  }

 private:
  // An interrupt at the prompt drops what was typed. False when the program is to end.
  bool DropInput() {
    if (!interactive_ || stop::Requested() != stop::Reason::kUser) return false;
    stop::Clear();
    ForgetInterrupts();
    pending_.clear();
    Print("\n");
    return true;
  }

  // False when the prompt is left.
  bool Take(const std::string& line) {
    if (pending_.empty() && TakeOwn(Trimmed(line))) return true;
    const std::string text = pending_ + line + "\n";
    pending_.clear();
    return RunText(text, false);
  }

  // What the prompt answers itself.
  bool TakeOwn(std::string_view line) {
    if (line.empty()) return true;
    const std::string_view name = FirstName(line);
    const std::string_view rest = Trimmed(line.substr(name.size()));
    if (line == "?" || (name == "help" && FirstName(rest) == rest)) {
      editor_->Remember(std::string(line));
      ShowHelp(rest == "?" ? "" : rest);
      return true;
    }
    if (rest.empty()) {
      const kel::Value* const value = Globals().Read(name);
      if (!value || value->IsNone()) return false;
      editor_->Remember(std::string(line));
      Print(ShownText(*value) + "\n");
      return true;
    }
    return false;
  }

  bool RunText(const std::string& entry, bool atEnd) {
    std::string text = entry;
    const std::string_view trimmed = Trimmed(entry);
    if (trimmed.starts_with('=')) text = "print (" + std::string(trimmed.substr(1)) + "\n)";
    const Variables before = interactive_ ? AllVariables() : Variables();
    const script::Outcome outcome =
        session_.Run(SV::String(text.data(), static_cast<long>(text.size())));
    if (!outcome.parsed && outcome.error.incomplete && !atEnd) {
      pending_ = entry;
      return true;
    }
    editor_->Remember(std::string(trimmed));
    ReportOutcome(outcome, options_);
    if (outcome.parsed && outcome.exitType == TavScriptExitCode) {
      exitCode_ = static_cast<int>(outcome.code);
      return false;
    }
    if (outcome.parsed && outcome.exitType == TavScriptExitStop) return GoOnAfterStop(outcome);
    if (interactive_ && reference::Catalogue::Get().Find(FirstName(trimmed))) ShowChanges(before);
    return true;
  }

  bool GoOnAfterStop(const script::Outcome& outcome) {
    exitCode_ = ExitCodeOf(outcome.stopReason);
    if (outcome.stopReason == stop::Reason::kTimeout || exitCode_ == kExitScriptError) return false;
    if (!interactive_ && outcome.stopReason == stop::Reason::kUser) return false;
    ForgetInterrupts();
    if (outcome.stopReason == stop::Reason::kUser) WriteError("stopped\n");
    if (interactive_) exitCode_ = kExitSuccess;
    return true;
  }

  // The result variables of a command: those that were set or changed.
  static void ShowChanges(const Variables& before) {
    for (const auto& [name, value] : AllVariables()) {
      const auto old = before.find(name);
      std::string text = ShownText(value);
      if (old != before.end() && ShownText(old->second) == text) continue;
      Print("  " + name + ": " + text + "\n");
    }
  }

  const Options& options_;
  script::Session session_;
  std::unique_ptr<LineEditor> editor_;
  bool interactive_;
  std::string pending_;  // the lines of a statement that goes on
  int exitCode_ = kExitSuccess;
};

}  // namespace

int RunPrompt(const CommandLine& line) {
  int exitCode = kExitSuccess;
  const auto host = Host::Start(line.options, exitCode);
  if (!host) return exitCode;
  script::RunOptions options;
  options.name = "<prompt>";
  options.sinks.print = Print;
  options.sinks.error = WriteError;
  exitCode = Prompt(std::move(options), line.options).Run();
  return host->Finish(exitCode);
}

}  // namespace app
