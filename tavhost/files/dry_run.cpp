#include "tavhost/files/dry_run.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "host/notation/kel_parser.h"
#include "host/script/script_result.h"
#include "tavhost/files/planned_functions.h"
#include "tavhost/script/ports/message.h"
#include "tavhost/script/ports/ports.h"
#include "tavhost/script/ports/result_code.h"

namespace {

// What changes something outside the process has told at least one step when it has worked. The
// others of these fail when they say so by their code, whether or not the host was asked at all.
struct ToldCommand {
  std::string_view name;
  int success;  // its ecode then
  const char*
      object;  // the parameter that names what it is about; empty: the main value, null: none
};
constexpr ToldCommand kToldCommands[] = {
    {"FWRITE", 0, "file"},     {"FDELETE", 1, "file"},       {"FILE_DELETE", 0, "file"},
    {"DELETE_FILES", 0, ""},   {"FCOPY", 1, "from"},         {"FILE_COPY", 0, "from"},
    {"COPY_FILES", 0, ""},     {"MOVE_FILES", 0, ""},        {"FILE_RENAME", 0, "from"},
    {"DIR_CREATE", 0, "path"}, {"DIR_REMOVE", 0, "path"},    {"COPY_TO_CLIPBOARD", 0, nullptr},
    {"SERVICE", 0, nullptr},   {"HTTP_REQUEST", 0, nullptr},
};

// As the script writes it: the host was not asked what it means.
std::string ObjectOf(const ToldCommand& told, TavKelParser& params) {
  if (!told.object) return {};
  return std::string(
      (*told.object ? params.GetStrValue(told.object) : params.GetStrValue()).View());
}

}  // namespace

DryRun::DryRun(dry_run::Teller tell) {
  dry_run::SetTeller([this, tell = std::move(tell)](const dry_run::Step& step) {
    failures_ += step.act == dry_run::Act::kFail;
    tell(step);
  });
  planned_functions::Use(&files_);
}

DryRun::~DryRun() {
  planned_functions::Use(nullptr);
  dry_run::SetTeller(nullptr);
}

bool DryRun::Handle(const char* command, TavKelParser& params, TavScriptResult& result) {
  return Run(command, params, result, result);
}

bool DryRun::Handle(const char* command, TavKelParser& params, TavMessage& message) {
  return Run(command, params, message, message.Result());
}

template <typename Reply>
bool DryRun::Run(const char* command, TavKelParser& params, Reply& reply, TavScriptResult& result) {
  // A command may run others, as EXECUTE does.
  const std::string outer = std::exchange(command_, command);
  const auto restore = [this, &outer](void*) { command_ = outer; };
  const std::unique_ptr<void, decltype(restore)> atEnd(this, restore);
  if (command_ == "CRASH") {  // nothing that it does could be held back
    dry_run::Tell({dry_run::Act::kCrash});
    return true;
  }
  const int failuresBefore = failures_;
  Begin(params);
  const auto textBefore = static_cast<std::size_t>(result.GetText().Len());
  if (!script::ScriptPort::TavScript().HandOn(*this, command, params, reply)) return false;
  const auto* told = std::find_if(std::begin(kToldCommands), std::end(kToldCommands),
                                  [this](const auto& row) { return row.name == command_; });
  if (told == std::end(kToldCommands) || result.HasError() || failures_ != failuresBefore) {
    return true;
  }
  const std::optional<int> code = script::CodeOf(result, textBefore);
  if (code && *code != told->success) {
    const std::string reason = command_ + " has ecode " + std::to_string(*code);
    dry_run::Tell({dry_run::Act::kFail, ObjectOf(*told, params), {}, -1, false, reason});
  }
  return true;
}

void DryRun::Begin(TavKelParser& params) {
  const bool goesInto = command_ == "COPY_FILES" || command_ == "MOVE_FILES";
  planned_functions::Command how;
  planned_functions::SetCommand(how);
  if (!goesInto && command_ != "DELETE_FILES") return;
  how.isOfTrees = true;
  how.fillsFolders = command_ == "COPY_FILES" && params.IsContained("overwrite-existing-dir");
  const SV::String pattern = params.GetStrValue();
  const SV::String target = goesInto ? params.GetStrValue("to") : SV::String();
  // The commands look at the disk for this, which knows nothing of directories that were told.
  if (goesInto && files_.GoesIntoItself(pattern.GetStr(), target.GetStr())) {
    how.isRefused = true;
    files_.Refuse({target.GetStr()}, "it lies in the directory that is to go there");
  }
  planned_functions::SetCommand(how);
}
