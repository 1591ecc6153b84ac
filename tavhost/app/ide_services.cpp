#include "tavhost/app/ide_services.h"

#include <algorithm>
#include <utility>

#include "host/notation/kel_value.h"
#include "host/script/script_service.h"
#include "tavhost/analysis/check.h"
#include "tavhost/analysis/completion.h"
#include "tavhost/app/interrupts.h"
#include "tavhost/app/prompt_values.h"
#include "tavhost/base/long_work.h"
#include "tavhost/base/stop.h"
#include "tavhost/base/string_of.h"
#include "tavhost/files/program_path.h"
#include "tavhost/reference/reference.h"
#include "tavhost/reference/reference_text.h"
#include "tavhost/script/engine.h"
#include "tavhost/service/script_service.h"
#include "tavhost/sv/main_frames.h"

namespace app {

namespace {

// What cannot run now.
ide::IdeHost::Outcome Refused(const std::string& name, const char* reason) {
  ide::IdeHost::Outcome outcome{ide::IdeHost::End::kNotParsed, 0, {}};
  outcome.mistake.file = name;
  outcome.mistake.line = 1;
  outcome.mistake.column = 1;
  outcome.mistake.message = reason;
  return outcome;
}

const char* KindName(std::uint8_t type) {
  switch (type) {
    case TavKelString:
      return "string";
    case TavKelInteger:
      return "integer";
    case TavKelReal:
      return "real";
    case TavKelList:
      return "list";
    case TavKelRecord:
      return "record";
    default:
      return "value";
  }
}

// While something runs: what takes long in it is told by the workbench.
class Busy {
 public:
  Busy(bool& flag, const ide::IdeHost::Sinks& sinks)
      : flag_(flag), shownBefore_(base::SetLongWorkShown(sinks.longWork)) {
    flag_ = true;
  }
  Busy(const Busy&) = delete;
  Busy& operator=(const Busy&) = delete;
  ~Busy() {
    base::SetLongWorkShown(std::move(shownBefore_));
    flag_ = false;
  }

 private:
  bool& flag_;
  base::ShowLongWork shownBefore_;
};

}  // namespace

IdeServices::IdeServices() = default;
IdeServices::~IdeServices() { EndSession(); }

ide::IdeHost::Outcome IdeServices::OutcomeOf(const script::Outcome& outcome) {
  Outcome result;
  result.mistake = outcome.error;
  result.code = outcome.code;
  if (!outcome.parsed) {
    result.end = outcome.error.incomplete ? End::kIncomplete : End::kNotParsed;
    return result;
  }
  switch (outcome.exitType) {
    case TavScriptExitEnd:
      result.end = End::kEnded;
      break;
    case TavScriptExitCode:
      result.end = End::kExit;
      break;
    case TavScriptExitError:
      result.end = End::kError;
      break;
    case TavScriptExitStop:
      result.end = End::kStopped;
      if (outcome.stopReason == stop::Reason::kNoAnswer) {
        result.end = End::kNoAnswer;
      } else if (!stopAsked_ || outcome.stopReason != stop::Reason::kUser) {
        endReason_ = outcome.stopReason;  // not the workbench's Stop: the whole program is meant
        result.end = End::kEndProgram;
      }
      break;
  }
  return result;
}

ide::IdeHost::Outcome IdeServices::RunScript(const std::string& path, const std::string& name,
                                             const std::string& text, const Sinks& sinks) {
  if (running_) return Refused(name, "another script is running");
  EndSession();
  stopAsked_ = false;
  const Busy busy(running_, sinks);
  if (path.empty()) {  // never saved
    program_path::Set("");
  } else {
    program_path::SetFolderOf(path);
  }
  script::RunOptions options;
  options.name = name;
  options.sinks = {sinks.print, sinks.error};
  if (sinks.step) {
    options.step = [&sinks](const script::StepPlace& place) {
      sinks.step(static_cast<int>(place.line), static_cast<int>(place.depth));
    };
  }
  Outcome outcome = OutcomeOf(script::RunText(base::StringOf(text), options));
  if (outcome.end == End::kIncomplete) outcome.end = End::kNotParsed;
  return outcome;
}

ide::IdeHost::Outcome IdeServices::RunEntry(const std::string& text, const Sinks& sinks) {
  if (running_) return Refused("<console>", "a script is running");
  // A variable's name shows what the last script left in it, too.
  if (const auto answer = AnswerOf(Trimmed(text))) {
    (answer->isError ? sinks.error : sinks.print)(answer->text);
    return {};
  }
  stopAsked_ = false;
  const Busy busy(running_, sinks);
  entrySinks_ = sinks;
  if (!session_) {
    script::RunOptions options;
    options.name = "<console>";
    options.sinks.print = [this](std::string_view printed) { entrySinks_.print(printed); };
    options.sinks.error = [this](std::string_view error) { entrySinks_.error(error); };
    session_ = std::make_unique<script::Session>(std::move(options));
  }
  const app::Variables before = AllVariables();
  Outcome outcome = OutcomeOf(session_->Run(base::StringOf(ScriptOf(text))));
  const std::string_view command = FirstName(Trimmed(text));
  if (outcome.end == End::kEnded && reference::Catalogue::Get().Find(command)) {
    sinks.print(ChangesSince(before));
  }
  // A session counts as a script that runs, and a service carries requests out only between
  // scripts.
  if (TavScriptService::IsRunning()) EndSession();
  return outcome;
}

void IdeServices::EndSession() { session_.reset(); }

void IdeServices::Stop() {
  if (!running_) return;
  stopAsked_ = true;
  stop::Request(stop::Reason::kUser);
}

bool IdeServices::IsStopAsked() const { return stop::IsRequested(); }

stop::Reason IdeServices::EndReason() const {
  if (endReason_ != stop::Reason::kNone || running_) return endReason_;
  return stop::Requested();
}

bool IdeServices::IsEndAsked() const { return EndReason() != stop::Reason::kNone; }

std::vector<base::Diagnostic> IdeServices::Check(const std::string& name, const std::string& text) {
  return check::CheckScript(base::StringOf(text), name);
}

std::vector<std::string> IdeServices::Complete(const std::string& before,
                                               const std::vector<std::string>& names) {
  std::vector<std::string> variables = VariableNames();
  variables.insert(variables.end(), names.begin(), names.end());
  return check::CompleteScript(before, variables);
}

std::vector<ide::IdeHost::Variable> IdeServices::Variables() {
  std::vector<Variable> variables;
  script::Engine::Current().ForEachLocal(
      [&variables](std::string_view name, const kel::Value& value) {
        if (value.IsNone()) return;
        variables.push_back({std::string(name), KindName(value.Kind()), ShownText(value), true});
      });
  std::sort(variables.begin(), variables.end(),
            [](const Variable& a, const Variable& b) { return a.name < b.name; });
  for (const auto& [name, value] : AllVariables()) {
    variables.push_back({name, KindName(value.Kind()), ShownText(value), false});
  }
  return variables;
}

const reference::Catalogue& IdeServices::Reference() { return reference::Catalogue::Get(); }

std::string IdeServices::Usage(const reference::Command& command) {
  return reference::UsageText(command);
}

void IdeServices::SetTitle(const std::string& title) { main_frames::SetTitle(title); }

void IdeServices::SetServiceLog(std::function<void(const std::string&)> show) {
  script::service::SetLogField(std::move(show));
}

}  // namespace app
